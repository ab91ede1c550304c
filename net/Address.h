// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <string>

namespace net {

/**
 * False for what is no place in the internet: loopback, link-local, private, shared (carrier NAT) and
 * unique-local networks, multicast, unspecified and reserved addresses, and IPv6 forms that carry such an
 * IPv4 address; also for families other than IPv4 and IPv6.
 * @param address really a sockaddr_in or sockaddr_in6, as its family says
 */
[[nodiscard]] bool isPublic(const sockaddr& address) noexcept;

/** `url` for a diagnostic line: without user, password, query and fragment, which may hold secrets. */
[[nodiscard]] std::string withoutSecrets(const std::string& url);

} // namespace net
