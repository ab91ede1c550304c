// SPDX-License-Identifier: MIT
#include "net/Url.h"
#include "sources/Fields.h"
#include "sources/Json.h"
#include "sources/Names.h"
#include "sources/Source.h"

#include <algorithm>
#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

/**
 * Removes Discogs's marks: a star for a variant of the artist's usual name ("Name*"), a number to tell apart
 * artists of the same name ("Name (2)").
 */
std::string artistFrom(std::string_view text) {
    while (text.ends_with('*'))
        text.remove_suffix(1);
    const auto bracket = text.rfind(" (");
    if (bracket != std::string_view::npos && text.ends_with(')')) {
        const std::string_view number = text.substr(bracket + 2, text.size() - bracket - 3);
        const bool isNumber =
            !number.empty() && number.find_first_not_of("0123456789") == std::string_view::npos;
        if (isNumber) text = text.substr(0, bracket);
    }
    return nameFrom(text);
}

std::string pictureIn(const json::Value& hit, std::string_view name) {
    const std::string address = json::webAddress(hit, name);
    return address.find("spacer.gif") == std::string::npos ? address : std::string();
}

/** @param formats media and kinds of release: "CD", "Album", "Promo" */
void addFormats(const json::Value& formats, matching::Candidate& candidate) {
    std::vector<matching::ReleaseKind> kinds;
    for (const json::Value& format : json::elements(formats)) {
        const auto* const word = format.get_ptr<const std::string*>();
        if (word == nullptr) continue;
        if (*word == "Promo") candidate.status = matching::ReleaseStatus::Promotion;
        if (*word == "Unofficial Release") candidate.status = matching::ReleaseStatus::Bootleg;
        const matching::ReleaseKind kind = kindNamed(*word);
        if (kind != matching::ReleaseKind::Other) kinds.push_back(kind);
    }
    candidate.kind = tellingKind(kinds);
}

matching::Candidate candidateFrom(const json::Value& hit) {
    constexpr std::string_view separator = " - ";
    const std::string_view title = json::text(hit, "title");
    const auto separated = title.find(separator);
    const bool hasArtist = separated != std::string_view::npos;
    matching::Candidate candidate{
        .artist = hasArtist ? artistFrom(title.substr(0, separated)) : "",
        .album = nameFrom(hasArtist ? title.substr(separated + separator.size()) : title),
        .date = dateFrom(json::digits(hit, "year")),
        .releaseId = json::digits(hit, "id"),
        .pictureUrl = pictureIn(hit, "cover_image"),
        .thumbnailUrl = pictureIn(hit, "thumb")};
    if (!candidate.releaseId.empty() && json::text(hit, "type") == "release")
        candidate.page = "https://www.discogs.com/release/" + candidate.releaseId;
    addFormats(json::member(hit, "format"), candidate);
    settleSampler(candidate);
    return candidate;
}

class Discogs final : public Source {
public:
    Discogs(std::string url, std::string token) : url_(std::move(url)), token_(std::move(token)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "discogs"; }

    /** The service allows 60 requests a minute. */
    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 1500ms, .burst = 20}; }

    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        std::vector<Request> requests;
        for (const Names& names : albumNames(question)) {
            const std::string artist =
                names.artist.empty() ? "" : "artist=" + net::urlEncoded(names.artist) + '&';
            requests.push_back({.url = url_ + "/database/search?" + artist + "release_title=" +
                                       net::urlEncoded(names.work) + "&type=release&per_page=25",
                                .headers = {"Authorization: Discogs token=" + token_}});
        }
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        needSuccess(answer);
        const json::Value reply = json::parse(answer.body);
        const json::Value& hits = json::member(reply, "results");
        if (!hits.is_array()) throw unexpectedAnswer();
        return candidatesOf(name(), json::elements(hits), candidateFrom);
    }

private:
    std::string url_;
    std::string token_;
};

} // namespace

std::unique_ptr<Source> discogs(const ParameterReader& parameter) {
    const std::string token = usableKey(parameter, "discogsToken");
    return token.empty() ? nullptr : std::make_unique<Discogs>(parameter("discogsUrl"), token);
}

} // namespace sources
