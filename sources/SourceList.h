// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Lookup.h"
#include "sources/Source.h"

#include <string_view>

namespace sources {

/** Whether `list` has nothing but names of sources, with commas or blanks between them. */
[[nodiscard]] bool areSourceNames(std::string_view list) noexcept;

/** The sources of such a list that have what they need to be asked, each once. */
[[nodiscard]] Sources sourcesOf(std::string_view list, const ParameterReader& parameter);

} // namespace sources
