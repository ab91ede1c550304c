// SPDX-License-Identifier: MIT
#include "sources/AmazonUrl.h"
#include "sources/Fields.h"
#include "util/Numbers.h"
#include "xml/XmlElement.h"

#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

int pixels(const xml::XmlElement& element) { return util::wholeNumber<int>(element.text()).value_or(0); }

/**
 * Removes the size from a URL such as "51abcdef._SL500_.jpg", which leaves the URL of the original picture.
 */
std::string unscaled(std::string address) {
    constexpr std::string_view mark = "._SL";
    constexpr std::string_view markEnd = "_.";
    const auto begin = address.rfind(mark);
    if (begin == std::string::npos) return address;
    const auto end = address.find_first_not_of("0123456789", begin + mark.size());
    if (end == std::string::npos || address.compare(end, markEnd.size(), markEnd) != 0) return address;
    return address.erase(begin, end + 1 - begin);
}

void addPicture(const xml::XmlElement& item, matching::Candidate& candidate) {
    const xml::XmlElement large = item.child("LargeImage");
    const int width = pixels(large.child("Width"));
    const int height = pixels(large.child("Height"));
    if (width == 1 && height == 1) return; // a placeholder: there is no picture
    const std::string address = webAddressFrom(large.child("URL").text());
    candidate.pictureUrl = unscaled(address);
    if (candidate.pictureUrl == address && !address.empty()) {
        candidate.widthPixels = width;
        candidate.heightPixels = height;
    }
    for (const std::string_view smaller : {"MediumImage", "SmallImage"})
        if (candidate.thumbnailUrl.empty())
            candidate.thumbnailUrl = webAddressFrom(item.child(smaller).child("URL").text());
}

std::string artistOf(const xml::XmlElement& attributes) {
    std::string artist;
    for (const xml::XmlElement& each : attributes.children("Artist")) {
        artist += (artist.empty() ? "" : ", ") + each.text();
        if (artist.size() > maxNameBytes) return {};
    }
    return artist;
}

matching::Candidate candidateFrom(const xml::XmlElement& item) {
    const xml::XmlElement attributes = item.child("ItemAttributes");
    matching::Candidate candidate{.artist = artistOf(attributes),
                                  .album = nameFrom(attributes.child("Title").text()),
                                  .date = dateFrom(attributes.child("ReleaseDate").text()),
                                  .releaseId = nameFrom(item.child("ASIN").text()),
                                  .page = webAddressFrom(item.child("DetailPageURL").text())};
    addPicture(item, candidate);
    settleSampler(candidate);
    return candidate;
}

/** @param errors the parent of the "Error" elements */
void failUnlessNothingFound(const xml::XmlElement& errors) {
    for (const xml::XmlElement& error : errors.children("Error")) {
        const std::string code = error.child("Code").text();
        if (code == "RequestThrottled") throw Busy("The service was asked too often.");
        if (code == "SignatureDoesNotMatch" || code == "InvalidClientTokenId")
            throw util::Exception("The service doesn't accept the key and the secret that are set for it.");
        if (code != "AWS.ECommerceService.NoExactMatches")
            throw util::Exception("The service reports an error.");
    }
}

/** Throws what the error document says. Failures come with a status other than 200. */
void failAsDocumented(const net::HttpAnswer& answer) {
    if (answer.status == 429 || answer.status >= 500) return; // the status is enough
    if (answer.body.find("ItemSearchErrorResponse") == std::string::npos) return;
    const xml::XmlDoc document = xml::parseXml(answer.body, maxParsedBytes);
    failUnlessNothingFound(xml::XmlElement::rootOf(*document));
}

class Amazon final : public Source {
public:
    explicit Amazon(AmazonAccess access) : access_(std::move(access)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "amazon"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 1s, .burst = 1}; }

    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        std::vector<Request> requests;
        for (const Names& names : albumNames(question))
            requests.push_back(amazonSearch(access_, names, 1, std::chrono::system_clock::now()));
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        if (answer.status != 200) failAsDocumented(answer);
        needSuccess(answer);
        const xml::XmlDoc document = xml::parseXml(answer.body, maxParsedBytes);
        const xml::XmlElement root = xml::XmlElement::rootOf(*document);
        if (root.is("ItemSearchErrorResponse")) failUnlessNothingFound(root);
        const xml::XmlElement items = root.child("Items");
        if (!root.is("ItemSearchResponse") || !items) throw unexpectedAnswer();
        failUnlessNothingFound(items.child("Request").child("Errors"));
        return candidatesOf(name(), items.children("Item"), candidateFrom);
    }

private:
    AmazonAccess access_;
};

} // namespace

std::unique_ptr<Source> amazon(const ParameterReader& parameter) {
    auto access = amazonAccess(parameter);
    return access ? std::make_unique<Amazon>(std::move(*access)) : nullptr;
}

} // namespace sources
