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

constexpr std::array definitions = {
    ParameterDefinition{"maxImageBytes", "33554432", "bytes", "The largest image file that is accepted."},
    ParameterDefinition{"maxImagePixels", "64000000", "pixels",
                        "The largest image, width times height, that is decoded."},
    ParameterDefinition{"queryLimit", "100", "entries", "How many entries a query lists at most."},
    ParameterDefinition{
        "renditionCacheBytes", "1073741824", "bytes",
        "How much disk the PNG files made from other formats may take; the least recently shown go first."},
    ParameterDefinition{"stylesheetFolder", "", "absolute path",
                        "A folder in which stylesheets are looked for before all others; empty: none."},
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

std::string Parameters::text(std::string_view name) const {
    const ParameterDefinition& definition = definitionOf(name);
    std::optional<std::string> stored;
    if (store_ != nullptr) stored = store_->parameter(name);
    return stored ? *stored : std::string(definition.defaultValue);
}

std::uint64_t Parameters::number(std::string_view name) {
    const std::string value = text(name);
    if (const auto number = positiveNumber(value)) return *number;
    const ParameterDefinition& definition = definitionOf(name);
    if (complaints_.insert(fmt::format("{}={}", name, value)).second)
        util::logLine(fmt::format("parameter {}: \"{}\" is no positive number of {}; {} is used", name, value,
                                  definition.unit, definition.defaultValue));
    return positiveNumber(definition.defaultValue).value();
}

util::ImageLimits Parameters::imageLimits() {
    return {.maxBytes = number("maxImageBytes"), .maxPixels = number("maxImagePixels")};
}

} // namespace app
