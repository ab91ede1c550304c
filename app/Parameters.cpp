// SPDX-License-Identifier: MIT
#include "app/Parameters.h"

#include "app/DeviceUrl.h"
#include "net/Url.h"
#include "sources/SourceList.h"
#include "util/Log.h"
#include "util/Numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <optional>

namespace app {
namespace {

std::optional<std::uint64_t> positiveNumber(std::string_view text) noexcept {
    const auto number = util::wholeNumber<std::uint64_t>(text);
    return number == 0U ? std::nullopt : number;
}

bool isAllowOrDeny(std::string_view value) noexcept { return value == "allow" || value == "deny"; }

bool isAbsolutePathOrNone(std::string_view value) noexcept { return value.empty() || value.front() == '/'; }

bool isNumber(std::string_view value) noexcept { return positiveNumber(value).has_value(); }

bool isBaseAddress(std::string_view value) noexcept {
    return net::isWebAddress(value) && value.find_first_of("?#") == std::string_view::npos;
}

// What is wrong with a key only its service can tell.
constexpr std::string_view keyUnit = "as the service gives it out";
constexpr std::string_view addressUnit = "http or https address";

constexpr std::array definitions = {
    ParameterDefinition{"amazonKey", "", keyUnit,
                        "Access key for product searches in the Amazon XML format; empty: not asked."},
    ParameterDefinition{"amazonSecret", "", keyUnit, "The secret that belongs to amazonKey."},
    ParameterDefinition{"amazonTag", "", keyUnit, "The associate's tag that belongs to amazonKey."},
    ParameterDefinition{"amazonUrl", "http://webservices.amazon.com", addressUnit,
                        "Where product searches in the Amazon XML format are sent.", isBaseAddress},
    ParameterDefinition{"answerAge", "30", "days",
                        "How long what web sources answered holds; that they know nothing, a day at most."},
    ParameterDefinition{"audioDbKey", "", keyUnit, "Key for TheAudioDB; empty: not asked."},
    ParameterDefinition{"audioDbUrl", "https://www.theaudiodb.com", addressUnit, "Where TheAudioDB is.",
                        isBaseAddress},
    ParameterDefinition{"coverArtArchiveUrl", "https://coverartarchive.org", addressUnit,
                        "Where the Cover Art Archive is.", isBaseAddress},
    ParameterDefinition{"deezerUrl", "https://api.deezer.com", addressUnit, "Where Deezer is.",
                        isBaseAddress},
    ParameterDefinition{"deviceConnectTimeout", "2", "seconds",
                        "How long a connection to the appliance may take to come about; at most 60."},
    ParameterDefinition{"deviceTimeout", "10", "seconds",
                        "How long a command to the appliance may take altogether; at most 60."},
    ParameterDefinition{"deviceUrl", "", "http or https address, or unix: and an absolute path",
                        "Where the appliance's XML interface is; empty: there is none.", isDeviceUrl},
    ParameterDefinition{"discogsToken", "", keyUnit, "Token for Discogs; empty: not asked."},
    ParameterDefinition{"discogsUrl", "https://api.discogs.com", addressUnit, "Where Discogs is.",
                        isBaseAddress},
    ParameterDefinition{"fanartTvKey", "", keyUnit, "Key for fanart.tv; empty: not asked."},
    ParameterDefinition{"fanartTvUrl", "https://webservice.fanart.tv", addressUnit, "Where fanart.tv is.",
                        isBaseAddress},
    ParameterDefinition{"fetchTimeout", "15", "seconds",
                        "How long the fetch of one cover from its URL may take; at most 3600."},
    ParameterDefinition{"itunesUrl", "https://itunes.apple.com", addressUnit, "Where the iTunes search is.",
                        isBaseAddress},
    ParameterDefinition{"lastFmKey", "", keyUnit, "Key for Last.fm; empty: not asked."},
    ParameterDefinition{"lastFmUrl", "https://ws.audioscrobbler.com", addressUnit, "Where Last.fm is.",
                        isBaseAddress},
    ParameterDefinition{"lookupTimeout", "8", "seconds",
                        "How long the web sources are waited for altogether; at most 60."},
    ParameterDefinition{"maxDeviceReplyBytes", "8388608", "bytes", "The largest reply of the appliance."},
    ParameterDefinition{"maxImageBytes", "33554432", "bytes", "The largest image file that is accepted."},
    ParameterDefinition{"maxImagePixels", "64000000", "pixels",
                        "The largest image, width times height, that is decoded."},
    ParameterDefinition{
        "maxTagPictureSide", "1200", "pixels",
        "The longest side of a picture that is written into song files; larger ones are scaled down."},
    ParameterDefinition{
        "musicBrainzPause", "1000", "milliseconds",
        "The pause between two requests to MusicBrainz; less is only for a mirror of one's own.", isNumber},
    ParameterDefinition{"musicBrainzUrl", "https://musicbrainz.org", addressUnit, "Where MusicBrainz is.",
                        isBaseAddress},
    ParameterDefinition{"musicFolder", "", "absolute path",
                        "The folder with the song files; only files below it are touched. Empty: none.",
                        isAbsolutePathOrNone},
    ParameterDefinition{"privateAddresses", "allow", "allow or deny",
                        "Whether covers may be fetched from loopback, link-local and private addresses.",
                        isAllowOrDeny},
    ParameterDefinition{"queryLimit", "100", "entries", "How many entries a query lists at most."},
    ParameterDefinition{
        "renditionCacheBytes", "1073741824", "bytes",
        "How much disk the PNG files made from other formats may take; the least recently shown go first."},
    ParameterDefinition{
        "sources", "musicbrainz, coverartarchive, itunes, deezer, lastfm, fanarttv, audiodb, discogs, amazon",
        "names of sources", "Which web sources are asked for covers and albums, in this order; empty: none.",
        sources::areSourceNames},
    ParameterDefinition{"stylesheetFolder", "", "absolute path",
                        "A folder in which stylesheets are looked for before all others; empty: none.",
                        isAbsolutePathOrNone},
    ParameterDefinition{"tagRetryPause", "10", "seconds",
                        "When a song file is tried again that was busy, or whose disk was full; doubled each "
                        "time, four times."},
};

const ParameterDefinition& definitionOf(std::string_view name) {
    const auto* found =
        std::find_if(definitions.begin(), definitions.end(),
                     [&](const ParameterDefinition& definition) { return definition.name == name; });
    assert(found != definitions.end());
    return *found;
}

} // namespace

std::span<const ParameterDefinition> parameterDefinitions() noexcept { return definitions; }

std::string Parameters::stored(const ParameterDefinition& definition) const {
    std::optional<std::string> value;
    if (store_ != nullptr) value = store_->parameter(definition.name);
    return value ? *value : std::string(definition.defaultValue);
}

void Parameters::complain(const ParameterDefinition& definition, std::string_view value) {
    if (complaints_->insert(fmt::format("{}={}", definition.name, value)).second)
        util::logLine(fmt::format("parameter {}: \"{}\" can't be understood, it should be: {}; {} is used",
                                  definition.name, value, definition.unit,
                                  definition.defaultValue.empty() ? "none" : definition.defaultValue));
}

std::string Parameters::text(std::string_view name) {
    const ParameterDefinition& definition = definitionOf(name);
    std::string value = stored(definition);
    if (definition.understands == nullptr || definition.understands(value)) return value;
    complain(definition, value);
    return std::string(definition.defaultValue);
}

std::uint64_t Parameters::number(std::string_view name) {
    const ParameterDefinition& definition = definitionOf(name);
    const std::string value = stored(definition);
    if (const auto number = positiveNumber(value)) return *number;
    complain(definition, value);
    return positiveNumber(definition.defaultValue).value();
}

image::ImageLimits Parameters::imageLimits() {
    return {.maxBytes = number("maxImageBytes"), .maxPixels = number("maxImagePixels")};
}

} // namespace app
