// SPDX-License-Identifier: MIT
#include "net/Url.h"
#include "sources/Fields.h"
#include "sources/Json.h"
#include "sources/Names.h"
#include "sources/Source.h"

#include <array>
#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

/** Hashes in the URLs of placeholder pictures, which show a star. */
constexpr std::array<std::string_view, 2> placeholders{"2a96cbd8b46e442fc41c2b86b821562f",
                                                       "c6f59c1e5e7240a4c0d427abd71f3dbb"};

bool isPlaceholder(std::string_view address) noexcept {
    for (const std::string_view hash : placeholders)
        if (address.find(hash) != std::string_view::npos) return true;
    return false;
}

/** Removes the size from the URL, which leaves the URL of the picture as it was uploaded. */
std::string uploaded(std::string address) {
    constexpr std::string_view size = "/300x300/";
    if (const auto found = address.find(size); found != std::string::npos)
        address.replace(found, size.size(), "/");
    return address;
}

/** @param images smallest first */
void addPicture(const json::Value& images, matching::Candidate& candidate) {
    for (const json::Value& image : json::elements(images)) {
        const std::string address = json::webAddress(image, "#text");
        if (address.empty() || isPlaceholder(address)) continue;
        candidate.pictureUrl = uploaded(address);
        if (candidate.thumbnailUrl.empty() || json::text(image, "size") == "large")
            candidate.thumbnailUrl = address;
    }
}

/** @param nameMember the JSON member with the album's name; it depends on the method */
matching::Candidate candidateFrom(const json::Value& album, std::string_view nameMember) {
    matching::Candidate candidate{.artist = json::name(album, "artist"),
                                  .album = json::name(album, nameMember),
                                  .releaseId = mbidFrom(json::text(album, "mbid")),
                                  .page = json::webAddress(album, "url")};
    addPicture(json::member(album, "image"), candidate);
    settleSampler(candidate);
    return candidate;
}

matching::Candidate candidateFromTrack(const json::Value& track) {
    matching::Candidate candidate = candidateFrom(json::member(track, "album"), "title");
    candidate.title = json::name(track, "name");
    candidate.trackArtist = json::name(json::member(track, "artist"), "name");
    return candidate;
}

std::vector<matching::Candidate> candidatesIn(const json::Value& reply) {
    const json::Value& album = json::member(reply, "album");
    if (album.is_object()) return {candidateFrom(album, "name")};
    const json::Value& track = json::member(reply, "track");
    if (track.is_object()) return {candidateFromTrack(track)};
    const json::Value& matches = json::member(json::member(reply, "results"), "albummatches");
    if (!matches.is_object()) throw unexpectedAnswer();
    std::vector<matching::Candidate> candidates;
    for (const json::Value& match : json::elements(json::member(matches, "album")))
        if (mayGrow(candidates)) candidates.push_back(candidateFrom(match, "name"));
    return candidates;
}

/** Failures come with any status, even 200. @return whether the error only means that nothing was found */
bool meansNothing(const std::string& error, const net::HttpAnswer& answer) {
    if (error == "6") return true;
    if (error == "11" || error == "16" || error == "29")
        throw Busy("The service has too much to do.", answer.retryAfter);
    if (error == "10" || error == "26")
        throw util::Exception("The service doesn't accept the key that is set for it.");
    if (error.empty()) needSuccess(answer); // not Last.fm's own error, but a proxy's
    throw util::Exception("The service reports an error.");
}

class LastFm final : public Source {
public:
    LastFm(std::string url, std::string key) : url_(std::move(url)), key_(std::move(key)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "lastfm"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 250ms, .burst = 2}; }

    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        const std::vector<Names> albums = albumNames(question);
        std::vector<Request> requests;
        requests.reserve(albums.size());
        for (const Names& names : albums)
            requests.push_back(
                names.artist.empty()
                    ? call("album.search", "&album=" + net::urlEncoded(names.work) + "&limit=25")
                    : call("album.getInfo", exactly(names, "album")));
        if (!albums.empty()) return requests;
        for (const Names& names : titleNames(question))
            if (!names.artist.empty()) requests.push_back(call("track.getInfo", exactly(names, "track")));
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        const json::Value reply = answer.status == 200 ? json::parse(answer.body)
                                                       : json::tryParse(answer.body).value_or(json::Value());
        const bool failed = !json::member(reply, "error").is_null();
        if (failed && meansNothing(json::digits(reply, "error"), answer)) return {};
        needSuccess(answer);
        std::vector<matching::Candidate> candidates = candidatesIn(reply);
        std::erase_if(candidates,
                      [](const matching::Candidate& candidate) { return candidate.album.empty(); });
        for (matching::Candidate& candidate : candidates)
            candidate.source = name();
        return candidates;
    }

private:
    static std::string exactly(const Names& names, std::string_view kind) {
        return "&artist=" + net::urlEncoded(names.artist) + '&' + std::string(kind) + '=' +
               net::urlEncoded(names.work) + "&autocorrect=1";
    }

    [[nodiscard]] Request call(std::string_view method, const std::string& arguments) const {
        return {.url = url_ + "/2.0/?method=" + std::string(method) + arguments + "&format=json",
                .secretQuery = "&api_key=" + net::urlEncoded(key_)};
    }

    std::string url_;
    std::string key_;
};

} // namespace

std::unique_ptr<Source> lastFm(const ParameterReader& parameter) {
    const std::string key = usableKey(parameter, "lastFmKey");
    return key.empty() ? nullptr : std::make_unique<LastFm>(parameter("lastFmUrl"), key);
}

} // namespace sources
