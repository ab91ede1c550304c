// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Lookup.h"
#include "sources/Source.h"

#include <string_view>

namespace sources {

/** Whether `list` contains only names of sources, separated by commas or blanks. */
[[nodiscard]] bool areSourceNames(std::string_view list) noexcept;

/** The sources in such a list, each once. Leaves out sources without a key they need. */
[[nodiscard]] Sources sourcesOf(std::string_view list, const ParameterReader& parameter);

} // namespace sources
