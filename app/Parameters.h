// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "util/ImageHeader.h"

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace app {

/** A parameter that the library reads. */
struct ParameterDefinition {
    std::string_view name;
    std::string_view defaultValue;
    std::string_view unit; // "bytes", "entries", ...
    std::string_view meaning;
};

/** All of them; docs/parameters.md shows this table. */
[[nodiscard]] std::span<const ParameterDefinition> parameterDefinitions() noexcept;

/**
 * The parameters of the table as they are stored. A number that can't be understood is replaced by the
 * default, and a line on standard error says so, once for each such value. One thread.
 */
class Parameters {
public:
    /** `store` must live as long; without one the defaults hold. */
    explicit Parameters(store::CoverStore* store = nullptr) noexcept : store_(store) {}

    /** @throws util::Exception when the store fails */
    [[nodiscard]] std::uint64_t number(std::string_view name);
    [[nodiscard]] std::string text(std::string_view name) const;

    /** `maxImageBytes` and `maxImagePixels`. */
    [[nodiscard]] util::ImageLimits imageLimits();

private:
    store::CoverStore* store_;
    std::set<std::string> complaints_;
};

} // namespace app
