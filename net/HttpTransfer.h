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

/** libcurl's handle of one transfer at a time. */
using CurlHandle = std::unique_ptr<CURL, void (*)(CURL*)>;

/** Sets libcurl up before the first. @throws util::Exception */
[[nodiscard]] CurlHandle newCurlHandle();

using HeaderList = std::unique_ptr<curl_slist, void (*)(curl_slist*)>;

/** For libcurl, from "Name: value"; "Name:" is for one that it is to leave out. @throws util::Exception */
[[nodiscard]] HeaderList headerList(const std::vector<std::string>& headers);

template <typename Value>
void setOption(CURL* handle, CURLoption option, Value value) {
    if (const CURLcode code = curl_easy_setopt(handle, option, value); code != CURLE_OK)
        throw util::Exception(
            fmt::format("The network library refuses a setting: {}.", curl_easy_strerror(code)));
}

/** That the server did not answer in time. */
[[nodiscard]] std::string tooLate(const HttpSettings& settings);

/**
 * One request on its way: what holds for every one of them, however libcurl is driven. Its callbacks write
 * here for as long as the handle transfers. What stops it is kept as an exception.
 */
class HttpTransfer {
public:
    /**
     * Makes `handle` ready for a GET of `url`; of what it was set to before, nothing stays.
     * @param settings must outlive this
     * @throws util::Exception for what is no address of a web server
     */
    HttpTransfer(CURL* handle, const HttpSettings& settings, const std::string& url);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;
    ~HttpTransfer() = default;

    /**
     * What the transfer came to, which libcurl ended with `code`; once.
     * @throws util::Exception when there is no whole answer. Its sentence does not name the address
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

    // For libcurl, whose last argument, or first, is the transfer.
    static std::size_t takeBody(const char* data, std::size_t size, std::size_t count, void* self) noexcept;
    static std::size_t takeHeader(const char* data, std::size_t size, std::size_t count, void* self) noexcept;
    static int watch(void* self, curl_off_t announced, curl_off_t received, curl_off_t toSend,
                     curl_off_t sent) noexcept;
    static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address) noexcept;

    CURL* handle_;
    const HttpSettings& settings_;
    std::string body_;
    std::size_t headerBytes_ = 0;
    bool headersEnded_ = false; // by an empty line; libcurl takes a broken connection for an end, too
    bool refusedAddress_ = false;
    std::exception_ptr failure_;
};

} // namespace net
