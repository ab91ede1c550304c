// SPDX-License-Identifier: MIT
#include "sources/Fields.h"
#include "sources/Json.h"
#include "sources/Source.h"
#include "text/Fold.h"

#include <algorithm>
#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

/**
 * Replaces http by https for the archive's own servers. An album's index is as old as its last change, so
 * many indexes still say http, though https has worked for years.
 */
std::string upgraded(std::string address) {
    constexpr std::string_view plain = "http://";
    if (!address.starts_with(plain)) return address;
    const std::string_view rest = std::string_view(address).substr(plain.size());
    const std::string_view host = rest.substr(0, rest.find_first_of("/?#"));
    for (const std::string_view domain : {"coverartarchive.org", "archive.org"}) {
        const bool below = host.size() > domain.size() && host.ends_with(domain) &&
                           host[host.size() - domain.size() - 1] == '.';
        if (host == domain || below) return "https://" + std::string(rest);
    }
    return address;
}

std::string addressIn(const json::Value& value, std::string_view name) {
    return upgraded(json::webAddress(value, name));
}

bool isPicture(const json::Value& image) {
    const std::string address = addressIn(image, "image");
    return !address.empty() && !text::folded(address).ends_with(" pdf");
}

bool isMainFront(const json::Value& image) {
    const auto* const front = json::member(image, "front").get_ptr<const bool*>();
    return front != nullptr && *front;
}

bool hasFrontType(const json::Value& image) {
    return std::ranges::any_of(json::elements(json::member(image, "types")),
                               [](const json::Value& type) { return type == "Front"; });
}

/** Null if there is none. */
const json::Value* frontOf(const json::Value::array_t& images) {
    for (const auto isFront : {isMainFront, hasFrontType})
        for (const json::Value& image : images)
            if (isFront(image) && isPicture(image)) return &image;
    return nullptr;
}

class CoverArtArchive final : public PictureSource {
public:
    explicit CoverArtArchive(std::string url) : url_(std::move(url)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "coverartarchive"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 500ms, .burst = 10}; }

    [[nodiscard]] std::optional<Request> request(const matching::Candidate& album) const override {
        if (!isMbid(album.groupId)) return std::nullopt;
        return Request{.url = url_ + "/release-group/" + album.groupId};
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        if (answer.status == 404) return {}; // the album has no cover
        needSuccess(answer);
        const json::Value index = json::parse(answer.body);
        const json::Value& images = json::member(index, "images");
        if (!images.is_array()) throw unexpectedAnswer();
        const json::Value* const front = frontOf(json::elements(images));
        if (front == nullptr) return {};
        const json::Value& thumbnails = json::member(*front, "thumbnails");
        matching::Candidate candidate{.source = std::string(name()),
                                      .pictureUrl = addressIn(thumbnails, "1200"),
                                      .thumbnailUrl = addressIn(thumbnails, "250")};
        if (candidate.pictureUrl.empty()) candidate.pictureUrl = addressIn(*front, "image");
        if (candidate.thumbnailUrl.empty()) candidate.thumbnailUrl = addressIn(thumbnails, "small");
        return {candidate};
    }

private:
    std::string url_;
};

} // namespace

std::unique_ptr<PictureSource> coverArtArchive(const ParameterReader& parameter) {
    return std::make_unique<CoverArtArchive>(parameter("coverArtArchiveUrl"));
}

} // namespace sources
