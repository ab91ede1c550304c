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

bool areDigits(std::string_view text) noexcept {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

/**
 * Sets the picture's size, which is the end of the URL: "100x100bb.jpg". The server scales to any size.
 * Returns other URLs unchanged.
 */
std::string withSide(const std::string& address, std::string_view side) {
    constexpr std::string_view ending = "bb.jpg";
    const auto slash = address.rfind('/');
    std::string_view last = std::string_view(address).substr(slash + 1);
    if (!last.ends_with(ending)) return address;
    last.remove_suffix(ending.size());
    const auto by = last.find('x');
    if (by == std::string_view::npos || !areDigits(last.substr(0, by)) || !areDigits(last.substr(by + 1)))
        return address;
    return address.substr(0, slash + 1) + std::string(side) + 'x' + std::string(side) + std::string(ending);
}

/** The service marks singles in the album's name only. */
void settleKind(matching::Candidate& candidate) {
    candidate.kind = matching::ReleaseKind::Album;
    for (const std::string_view ending : {" - Single", " - EP"}) {
        if (!candidate.album.ends_with(ending)) continue;
        candidate.album.resize(candidate.album.size() - ending.size());
        candidate.kind = matching::ReleaseKind::Single;
        return;
    }
}

matching::Candidate candidateFrom(const json::Value& hit) {
    const std::string artwork = json::webAddress(hit, "artworkUrl100");
    matching::Candidate candidate{.artist = json::name(hit, "collectionArtistName"),
                                  .album = json::name(hit, "collectionName"),
                                  .title = json::name(hit, "trackName"),
                                  .date = dateFrom(json::text(hit, "releaseDate")),
                                  .releaseId = json::digits(hit, "collectionId"),
                                  .page = json::webAddress(hit, "collectionViewUrl"),
                                  .pictureUrl = withSide(artwork, "1200"),
                                  .thumbnailUrl = withSide(artwork, "250")};
    const std::string artist = json::name(hit, "artistName");
    if (candidate.artist.empty()) candidate.artist = artist; // the album's artist is sent only if it differs
    if (!candidate.title.empty()) candidate.trackArtist = artist;
    settleKind(candidate);
    settleSampler(candidate);
    return candidate;
}

class Itunes final : public Source {
public:
    explicit Itunes(std::string url) : url_(std::move(url)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "itunes"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 4s, .burst = 5}; }

    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        const std::vector<Names> albums = albumNames(question);
        std::vector<Request> requests;
        for (const Names& names : albums.empty() ? titleNames(question) : albums)
            requests.push_back({.url = url_ + "/search?term=" + net::urlEncoded(words(names)) +
                                       "&media=music&entity=" + (albums.empty() ? "song" : "album") +
                                       "&limit=25"});
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        if (answer.status == 403) throw Busy("The service was asked too often.", answer.retryAfter);
        needSuccess(answer);
        const json::Value reply = json::parse(answer.body);
        const json::Value& hits = json::member(reply, "results");
        if (!hits.is_array()) throw unexpectedAnswer();
        return candidatesOf(name(), json::elements(hits), candidateFrom);
    }

private:
    std::string url_;
};

} // namespace

std::unique_ptr<Source> itunes(const ParameterReader& parameter) {
    return std::make_unique<Itunes>(parameter("itunesUrl"));
}

} // namespace sources
