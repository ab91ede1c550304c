// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace app {

/** How the address of a Unix socket begins; its absolute path follows. */
inline constexpr std::string_view unixScheme = "unix:";

/** Whether `value` can be the parameter `deviceUrl`: empty, an http or https address, or a Unix socket's. */
[[nodiscard]] bool isDeviceUrl(std::string_view value) noexcept;

} // namespace app
