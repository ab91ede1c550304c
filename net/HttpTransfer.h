// SPDX-License-Identifier: MIT
#pragma once

#include "net/HttpClient.h"
#include "util/Exception.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace net {

/** A libcurl easy handle. It runs one transfer at a time. */
using CurlHandle = std::unique_ptr<CURL, void (*)(CURL*)>;

/** The first call also sets libcurl up. @throws util::Exception */
[[nodiscard]] CurlHandle newCurlHandle();

using HeaderList = std::unique_ptr<curl_slist, void (*)(curl_slist*)>;

/** Converts "Name: value" lines for libcurl. "Name:" removes a default header. @throws util::Exception */
[[nodiscard]] HeaderList headerList(const std::vector<std::string>& headers);

template <typename Value>
void setOption(CURL* handle, CURLoption option, Value value) {
    if (const CURLcode code = curl_easy_setopt(handle, option, value); code != CURLE_OK)
        throw util::Exception(
            fmt::format("The network library refuses a setting: {}.", curl_easy_strerror(code)));
}

/** The error sentence for a time-out. */
[[nodiscard]] std::string tooLate(const HttpSettings& settings);

/**
 * One request in progress, with the settings and limits that are common to HttpClient and HttpFetches.
 * libcurl's callbacks write to this object until the handle's transfer ends, so it must live that long. An
 * exception in a callback stops the transfer and is kept for answer().
 */
class HttpTransfer {
public:
    /**
     * Prepares `handle` for a GET of `url`. Resets all options that were set before.
     * @param handle must live until answer() has returned
     * @param settings must outlive this object
     * @throws util::Exception when `url` is not an http or https address
     */
    HttpTransfer(CURL* handle, const HttpSettings& settings, const std::string& url);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;
    ~HttpTransfer() = default;

    /**
     * Takes the answer after the transfer. Call it only once.
     * @param code the transfer's result from libcurl
     * @throws util::Exception when there is no complete answer. Its sentence doesn't name the address
     */
    [[nodiscard]] HttpAnswer answer(CURLcode code);

private:
    void configure();
    [[noreturn]] void refuseSize() const;
    [[nodiscard]] std::string sentence(CURLcode code) const;
    [[nodiscard]] std::string brokenOff() const;
    [[nodiscard]] std::string tooManyHeaders() const;

    template <typename Action>
    bool succeeds(Action action) noexcept;

    // libcurl's callbacks; `self` is the HttpTransfer.
    static std::size_t takeBody(const char* data, std::size_t size, std::size_t count, void* self) noexcept;
    static std::size_t takeHeader(const char* data, std::size_t size, std::size_t count, void* self) noexcept;
    static int watch(void* self, curl_off_t announced, curl_off_t received, curl_off_t toSend,
                     curl_off_t sent) noexcept;
    static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address) noexcept;

    CURL* handle_;
    const HttpSettings& settings_;
    std::string body_;
    std::size_t headerBytes_ = 0;
    bool headersEnded_ = false; // by an empty line; libcurl also accepts a broken connection
    bool refusedAddress_ = false;
    std::exception_ptr failure_;
};

} // namespace net
