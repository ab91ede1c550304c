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

matching::Candidate candidateFrom(const json::Value& album) {
    matching::Candidate candidate{.artist = json::name(album, "strArtist"),
                                  .album = json::name(album, "strAlbum"),
                                  .kind = kindNamed(json::text(album, "strReleaseFormat")),
                                  .date = dateFrom(json::digits(album, "intYearReleased")),
                                  .releaseId = json::digits(album, "idAlbum"),
                                  .groupId = mbidFrom(json::text(album, "strMusicBrainzID")),
                                  .pictureUrl = json::webAddress(album, "strAlbumThumbHQ")};
    const std::string thumb = json::webAddress(album, "strAlbumThumb");
    if (candidate.pictureUrl.empty()) candidate.pictureUrl = thumb;
    if (!thumb.empty()) candidate.thumbnailUrl = thumb + "/small";
    settleSampler(candidate);
    return candidate;
}

class AudioDb final : public Source {
public:
    AudioDb(std::string url, std::string key) : url_(std::move(url)), key_(std::move(key)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "audiodb"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 3s, .burst = 10}; }

    /** The service needs both the artist and the album. */
    [[nodiscard]] std::vector<Request> requests(const matching::Question& question) const override {
        std::vector<Request> requests;
        for (const Names& names : albumNames(question)) {
            const std::string artist = question.sampler ? std::string(variousArtists) : names.artist;
            if (artist.empty()) continue;
            requests.push_back({.url = url_ + "/api/v1/json/" + std::string(Request::secretMark) +
                                       "/searchalbum.php?s=" + net::urlEncoded(artist) +
                                       "&a=" + net::urlEncoded(names.work),
                                .secretSegment = net::urlEncoded(key_)});
        }
        return requests;
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        needSuccess(answer);
        const json::Value reply = json::parse(answer.body);
        const json::Value& albums = json::member(reply, "album");
        if (!albums.is_array() && !(albums.is_null() && reply.contains("album"))) throw unexpectedAnswer();
        return candidatesOf(name(), json::elements(albums), candidateFrom);
    }

private:
    std::string url_;
    std::string key_;
};

} // namespace

std::unique_ptr<Source> audioDb(const ParameterReader& parameter) {
    const std::string key = usableKey(parameter, "audioDbKey");
    return key.empty() ? nullptr : std::make_unique<AudioDb>(parameter("audioDbUrl"), key);
}

} // namespace sources
