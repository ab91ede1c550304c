// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageHeader.h"
#include "store/CoverStore.h"

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace app {

/** A parameter that the library reads. */
struct ParameterDefinition {
    std::string_view name;
    std::string_view defaultValue;
    std::string_view unit; // "bytes", "entries", ..., or the values that there are
    std::string_view meaning;
    /** Tells whether a text can be understood; null where any can, and for numbers. */
    bool (*understands)(std::string_view value) noexcept = nullptr;
};

/** All of them; docs/parameters.md shows this table. */
[[nodiscard]] std::span<const ParameterDefinition> parameterDefinitions() noexcept;

/**
 * The parameters of the table as they are stored. A value that can't be understood is replaced by the
 * default, and a line on standard error says so, once for each such value. One thread.
 */
class Parameters {
public:
    /** What has been complained of. */
    using Complaints = std::set<std::string>;

    /**
     * `store` must live as long; without one the defaults hold.
     * @param complaints of an earlier object that this one goes on for
     */
    explicit Parameters(store::CoverStore* store = nullptr,
                        std::shared_ptr<Complaints> complaints = std::make_shared<Complaints>()) noexcept
        : store_(store), complaints_(std::move(complaints)) {}

    /** @throws util::Exception when the store fails */
    [[nodiscard]] std::uint64_t number(std::string_view name);
    [[nodiscard]] std::string text(std::string_view name);

    /** `maxImageBytes` and `maxImagePixels`. */
    [[nodiscard]] image::ImageLimits imageLimits();

private:
    [[nodiscard]] std::string stored(const ParameterDefinition& definition) const;
    void complain(const ParameterDefinition& definition, std::string_view value);

    store::CoverStore* store_;
    std::shared_ptr<Complaints> complaints_;
};

} // namespace app
