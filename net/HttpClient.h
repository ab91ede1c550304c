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

/** Whether a server may be in the own network (net/Address.h). */
enum class PrivateAddresses { Allow, Deny };

struct HttpSettings {
    std::chrono::milliseconds connectTimeout = std::chrono::seconds(5); // for each connection
    std::chrono::milliseconds totalTimeout = std::chrono::seconds(15);  // from the call to the last byte
    std::size_t maxBodyBytes = std::size_t{32} * 1024 * 1024;
    PrivateAddresses privateAddresses = PrivateAddresses::Allow;
    std::string_view peer = "The server"; // what sentences call it
    std::string unixSocket;               // the path of one through which all requests go; empty: none
    const std::atomic<bool>* cancelled = nullptr; // once it is true, a request fails within a second

    bool operator==(const HttpSettings&) const = default;
};

struct HttpAnswer {
    int status = 0;          // of the last answer, after all redirects
    std::string contentType; // as the server says; empty when it says nothing
    std::string body;
    std::optional<std::chrono::seconds> retryAfter; // when the server wants to be asked again
};

/** However long a server wants to be left alone, an answer's `retryAfter` is not more. */
inline constexpr std::chrono::seconds maxRetryAfter = std::chrono::hours(24);

/**
 * Fetches from web servers over http and https and keeps their connections for the next call. Certificates
 * are verified; no proxy, cookie or stored password is used. One thread at a time.
 */
class HttpClient {
public:
    /** @throws util::Exception */
    explicit HttpClient(const HttpSettings& settings = {});

    /**
     * GET, and after at most five redirects the answer, whatever its status.
     * @throws util::Exception when there is no whole answer within the limits. Its sentence does not name the
     * address, which may hold a password
     */
    [[nodiscard]] HttpAnswer get(const std::string& url);

    /**
     * POST, and the answer, whatever its status; redirects are not followed. Where the server has closed a
     * kept connection, the request goes out over a new one, but nothing of `body` is ever sent twice.
     * @throws util::Exception as get()
     */
    [[nodiscard]] HttpAnswer post(const std::string& url, std::string_view contentType,
                                  std::string_view body);

private:
    HttpSettings settings_;
    std::unique_ptr<void, void (*)(void*)> handle_; // libcurl's
};

} // namespace net
