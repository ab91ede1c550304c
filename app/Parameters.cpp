// SPDX-License-Identifier: MIT
#include "app/Parameters.h"

#include "util/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <optional>

namespace app {
namespace {

bool isAllowOrDeny(std::string_view value) noexcept { return value == "allow" || value == "deny"; }

bool isAbsolutePathOrNone(std::string_view value) noexcept { return value.empty() || value.front() == '/'; }

constexpr std::array definitions = {
    ParameterDefinition{"fetchTimeout", "15", "seconds",
                        "How long the fetch of one cover from its URL may take; at most 3600."},
    ParameterDefinition{"maxImageBytes", "33554432", "bytes", "The largest image file that is accepted."},
    ParameterDefinition{"maxImagePixels", "64000000", "pixels",
                        "The largest image, width times height, that is decoded."},
    ParameterDefinition{
        "maxTagPictureSide", "1200", "pixels",
        "The longest side of a picture that is written into song files; larger ones are scaled down."},
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

std::optional<std::uint64_t> positiveNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number == 0) return std::nullopt;
    return number;
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

util::ImageLimits Parameters::imageLimits() {
    return {.maxBytes = number("maxImageBytes"), .maxPixels = number("maxImagePixels")};
}

} // namespace app
