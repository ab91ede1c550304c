// SPDX-License-Identifier: MIT
#include "net/HttpClient.h"

#include "net/HttpTransfer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace net {
namespace {

// Shorter than servers usually keep an idle connection, so that the server doesn't close it while a request
// is on its way.
constexpr long maxIdleSeconds = 3;

/** Called by libcurl to read the body piece by piece. The body can't be rewound. */
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
    // libcurl repeats a request when a kept connection turns out to be closed. A POST must not be repeated,
    // because the server may have received it already. libcurl can't repeat a request after it has read from
    // a body that can't be rewound. An empty body gives no such protection, so it gets a new connection.
    setOption(handle, CURLOPT_READFUNCTION, &giveBody);
    setOption(handle, CURLOPT_READDATA, &body);
    if (body.empty()) setOption(handle, CURLOPT_FRESH_CONNECT, 1L);
    const CURLcode code = curl_easy_perform(handle);
    // Since libcurl 8, a handle that failed to rewind a body refuses every later body, so it is replaced.
    CurlHandle spent(nullptr, &curl_easy_cleanup); // outlives answer(), because the transfer uses it
    if (code == CURLE_SEND_FAIL_REWIND) spent = std::exchange(handle_, newCurlHandle());
    return transfer.answer(code);
}

} // namespace net
