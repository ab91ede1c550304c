// SPDX-License-Identifier: MIT
#pragma once

#include "util/Log.h"

#include <string_view>

namespace bridge {

/** A line on standard error in this program's name. */
inline void logLine(std::string_view message) noexcept { util::logLine(message, "sleevery-bridge"); }

} // namespace bridge
