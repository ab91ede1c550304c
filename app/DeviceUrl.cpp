// SPDX-License-Identifier: MIT
#include "app/DeviceUrl.h"

#include "net/Url.h"

#include <sys/un.h>

#include <cstddef>

namespace app {

bool isDeviceUrl(std::string_view value) noexcept {
    constexpr std::size_t maxPathBytes = sizeof(sockaddr_un::sun_path) - 1;
    if (!value.starts_with(unixScheme)) return value.empty() || net::isWebAddress(value);
    const std::string_view path = value.substr(unixScheme.size());
    return path.starts_with('/') && path.size() <= maxPathBytes && path.find('\0') == std::string_view::npos;
}

} // namespace app
