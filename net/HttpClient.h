// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace net {

/** Whether a server's address may be private (net/Address.h). */
enum class PrivateAddresses { Allow, Deny };

struct HttpSettings {
    std::chrono::milliseconds connectTimeout = std::chrono::seconds(5); // for each connection
    std::chrono::milliseconds totalTimeout = std::chrono::seconds(15);  // from the call to the last byte
    std::size_t maxBodyBytes = std::size_t{32} * 1024 * 1024;
    PrivateAddresses privateAddresses = PrivateAddresses::Allow;
    std::string_view peer = "The server";         // the server's name in error sentences
    std::string unixSocket;                       // path of a socket for all requests; empty: none
    const std::atomic<bool>* cancelled = nullptr; // when true, requests fail within a second

    bool operator==(const HttpSettings&) const = default;
};

struct HttpAnswer {
    int status = 0;          // of the last answer, after all redirects
    std::string contentType; // as the server declares it; may be empty
    std::string body;
    std::optional<std::chrono::seconds> retryAfter; // the server's Retry-After, if any
};

/** The longest `retryAfter` of an answer. Longer times from the server are cut to it. */
inline constexpr std::chrono::seconds maxRetryAfter = std::chrono::hours(24);

/**
 * Sends requests to web servers over http and https, and keeps the connections for later calls. Verifies
 * certificates. Uses no proxy, cookies or stored passwords. One thread at a time.
 */
class HttpClient {
public:
    /** @throws util::Exception */
    explicit HttpClient(const HttpSettings& settings = {});

    /**
     * Sends a GET and follows up to five redirects. Returns the answer whatever its status.
     * @throws util::Exception when there is no complete answer within the limits. Its sentence doesn't name
     * the address, because that may hold a password
     */
    [[nodiscard]] HttpAnswer get(const std::string& url);

    /**
     * Sends a POST and doesn't follow redirects. Returns the answer whatever its status. If the server has
     * already closed the kept connection, the request is sent over a new one. No part of `body` is ever sent
     * twice.
     * @throws util::Exception as get() does
     */
    [[nodiscard]] HttpAnswer post(const std::string& url, std::string_view contentType,
                                  std::string_view body);

private:
    HttpSettings settings_;
    std::unique_ptr<void, void (*)(void*)> handle_; // libcurl's easy handle
};

} // namespace net
