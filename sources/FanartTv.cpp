// SPDX-License-Identifier: MIT
#include "net/Url.h"
#include "sources/Fields.h"
#include "sources/Json.h"
#include "sources/Source.h"

#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

constexpr int side = 1000; // in pixels, of every cover

std::string thumbnailOf(std::string address) {
    constexpr std::string_view folder = "/fanart/";
    const auto found = address.find(folder);
    return found == std::string::npos ? std::string() : address.replace(found, folder.size(), "/preview/");
}

/**
 * The only album of the answer, in the service's older or newer form. Null if there are several: it is
 * unclear which one has the covers.
 */
const json::Value* onlyAlbum(const json::Value& albums) {
    const auto& byId = json::members(albums);
    const auto& listed = json::elements(albums);
    if (byId.size() + listed.size() != 1) return nullptr;
    return listed.empty() ? &byId.begin()->second : &listed.front();
}

class FanartTv final : public PictureSource {
public:
    FanartTv(std::string url, std::string key) : url_(std::move(url)), key_(std::move(key)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return "fanarttv"; }

    [[nodiscard]] store::Pace pace() const noexcept override { return {.interval = 500ms, .burst = 5}; }

    [[nodiscard]] std::optional<Request> request(const matching::Candidate& album) const override {
        if (!isMbid(album.groupId)) return std::nullopt;
        // The key is in the query: a header would be sent on to the target of a redirect.
        return Request{.url = url_ + "/v3/music/albums/" + album.groupId,
                       .secretQuery = "?api_key=" + net::urlEncoded(key_)};
    }

    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        if (answer.status == 404) return {}; // the album has no picture
        needSuccess(answer);
        const json::Value reply = json::parse(answer.body);
        const json::Value& albums = json::member(reply, "albums");
        if (!albums.is_structured()) throw unexpectedAnswer();
        const json::Value* const album = onlyAlbum(albums);
        std::vector<matching::Candidate> candidates;
        if (album == nullptr) return candidates;
        for (const json::Value& cover : json::elements(json::member(*album, "albumcover"))) {
            if (!mayGrow(candidates)) break;
            const std::string address = json::webAddress(cover, "url");
            if (address.empty()) continue;
            candidates.push_back({.source = std::string(name()),
                                  .pictureUrl = address,
                                  .thumbnailUrl = thumbnailOf(address),
                                  .widthPixels = side,
                                  .heightPixels = side});
        }
        return candidates;
    }

private:
    std::string url_;
    std::string key_;
};

} // namespace

std::unique_ptr<PictureSource> fanartTv(const ParameterReader& parameter) {
    const std::string key = usableKey(parameter, "fanartTvKey");
    return key.empty() ? nullptr : std::make_unique<FanartTv>(parameter("fanartTvUrl"), key);
}

} // namespace sources
