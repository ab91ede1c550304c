// SPDX-License-Identifier: MIT
#pragma once

#include <httplib.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bridge {

/** Why a request may not be made. */
struct Objection {
    int status;
    const char* sentence;
};

/**
 * Keeps pages of other sites, which any browser of the house may show, from giving commands. What it lets
 * through no page can send without asking first (text/xml), and those that ask are told no. Immutable.
 */
class Guard {
public:
    /** @param hosts other names that the bridge may be called by
     * @param anyHost for a Unix socket, which no page can reach by any name */
    Guard(std::vector<std::string> hosts, bool anyHost) : hosts_(std::move(hosts)), anyHost_(anyHost) {}

    /** Judges by the head alone. None means that the request's body may be read, and how long it is is known.
     */
    [[nodiscard]] std::optional<Objection> objectionTo(const httplib::Request& request) const;

private:
    [[nodiscard]] bool knowsHost(std::string_view header) const;

    std::vector<std::string> hosts_;
    bool anyHost_;
};

/** Whether an address in digits leads back to this machine. */
[[nodiscard]] bool isLoopback(const std::string& address);

} // namespace bridge
