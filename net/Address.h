// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <string>

namespace net {

/**
 * Whether the address is on the public internet. False for loopback, link-local, private, shared (carrier
 * NAT), unique-local, multicast, unspecified and reserved addresses, and for IPv6 forms that contain such an
 * IPv4 address. False, too, for families other than IPv4 and IPv6.
 * @param address a sockaddr_in or sockaddr_in6, according to its family
 */
[[nodiscard]] bool isPublic(const sockaddr& address) noexcept;

/** `url` for a log line. Removes user, password, query and fragment, because they may hold secrets. */
[[nodiscard]] std::string withoutSecrets(const std::string& url);

} // namespace net
