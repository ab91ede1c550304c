// SPDX-License-Identifier: MIT
#include "net/Url.h"
#include "sources/Fields.h"
#include "sources/Json.h"
#include "sources/Names.h"
#include "sources/Source.h"

#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

/** Empty for the placeholder that the service gives albums without a cover: its URL has no hash. */
std::string coverIn(const json::Value& album, std::string_view name) {
    const std::string address = json::webAddress(album, name);
    return address.find("/images/cover//") == std::string::npos ? address : std::string();
}

void addCover(const json::Value& album, matching::Candidate& candidate) {
    candidate.thumbnailUrl = coverIn(album, "cover_medium");
    candidate.pictureUrl = coverIn(album, "cover_xl");
    int side = 1000;
    if (candidate.pictureUrl.empty()) {
        candidate.pictureUrl = coverIn(album, "cover_big");
        side = 500;
    }
    if (!candidate.pictureUrl.empty()) candidate.widthPixels = candidate.heightPixels = side;
}

/** @param hit an album, or a track with its album in it */
matching::Candidate candidateFrom(const json::Value& hit) {
    const json::Value& itsAlbum = json::member(hit, "album");
    const bool isTrack = itsAlbum.is_object();
    const json::Value& album = isTrack ? itsAlbum : hit;
    matching::Candidate candidate{.artist = json::name(json::member(hit, "artist"), "name"),
                                  .album = json::name(album, "title"),
                                  .kind = kindNamed(json::text(album, "record_type")),
                                  .date = dateFrom(json::text(album, "release_date")),
                                  .releaseId = json::digits(album, "id"),
                                  .page = json::webAddress(album, "link")};
    if (isTrack) {
        candidate.title = json::name(hit, "title");
        candidate.trackArtist = candidate.artist;
    }
    addCover(album, candidate);
    settleSampler(candidate);
    return candidate;
}

/** Failures come with status 200. @return whether the error only means that nothing was found */
bool meansNothing(const json::Value& error) {
    const std::string code = json::digits(error, "code");
    if (code == "4") throw Busy("The service was asked too often.");
    if (code == "800") return true;
    throw util::Exception("The service reports an error.");
}

class Deezer final : public Source {
public:
    explicit Deezer(std::string url) : url_(std::move(url)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "deezer"; }

    /** The service allows 50 requests in 5 seconds. */
    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 200ms, .burst = 25}; }

    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        const std::vector<Names> albums = albumNames(question);
        std::vector<Request> requests;
        for (const Names& names : albums.empty() ? titleNames(question) : albums)
            requests.push_back({.url = url_ + (albums.empty() ? "/search" : "/search/album") +
                                       "?q=" + net::urlEncoded(words(names)) + "&limit=25"});
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        needSuccess(answer);
        const json::Value reply = json::parse(answer.body);
        const json::Value& error = json::member(reply, "error");
        if (!error.is_null() && meansNothing(error)) return {};
        const json::Value& hits = json::member(reply, "data");
        if (!hits.is_array()) throw unexpectedAnswer();
        return candidatesOf(name(), json::elements(hits), candidateFrom);
    }

private:
    std::string url_;
};

} // namespace

std::unique_ptr<Source> deezer(const ParameterReader& parameter) {
    return std::make_unique<Deezer>(parameter("deezerUrl"));
}

} // namespace sources
