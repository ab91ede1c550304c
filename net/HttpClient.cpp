// SPDX-License-Identifier: MIT
#include "net/HttpClient.h"

#include "net/HttpTransfer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace net {
namespace {

// Below the time for which usual servers keep one, so that a request does not cross the end of its
// connection.
constexpr long maxIdleSeconds = 3;

/** For libcurl, which asks for the body piece by piece, once. */
std::size_t giveBody(char* to, std::size_t size, std::size_t count, void* rest) noexcept {
    auto& body = *static_cast<std::string_view*>(rest);
    const std::size_t bytes = std::min(size * count, body.size());
    std::memcpy(to, body.data(), bytes);
    body.remove_prefix(bytes);
    return bytes;
}

} // namespace

HttpClient::HttpClient(const HttpSettings& settings) : settings_(settings), handle_(newCurlHandle()) {}

HttpAnswer HttpClient::get(const std::string& url) {
    HttpTransfer transfer(handle_.get(), settings_, url);
    return transfer.answer(curl_easy_perform(handle_.get()));
}

HttpAnswer HttpClient::post(const std::string& url, std::string_view contentType, std::string_view body) {
    HttpTransfer transfer(handle_.get(), settings_, url);
    const HeaderList headers = headerList({fmt::format("Content-Type: {}", contentType), "Expect:"});
    CURL* handle = handle_.get();
    setOption(handle, CURLOPT_HTTPHEADER, headers.get());
    setOption(handle, CURLOPT_FOLLOWLOCATION, 0L);
    setOption(handle, CURLOPT_MAXAGE_CONN, maxIdleSeconds);
    setOption(handle, CURLOPT_POST, 1L);
    setOption(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    // libcurl sends a request again when a kept connection turns out to be closed. It can't do so once it has
    // taken from a body that can't be rewound: the server may have it already, and it is no GET. Where there
    // is no body to take from, no kept connection is used.
    setOption(handle, CURLOPT_READFUNCTION, &giveBody);
    setOption(handle, CURLOPT_READDATA, &body);
    if (body.empty()) setOption(handle, CURLOPT_FRESH_CONNECT, 1L);
    const CURLcode code = curl_easy_perform(handle);
    // A handle that could not rewind a body is replaced: from libcurl 8 on it would refuse every later one.
    CurlHandle spent(nullptr, &curl_easy_cleanup); // which the transfer still refers to
    if (code == CURLE_SEND_FAIL_REWIND) spent = std::exchange(handle_, newCurlHandle());
    return transfer.answer(code);
}

} // namespace net
