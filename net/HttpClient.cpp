// SPDX-License-Identifier: MIT
#include "net/HttpClient.h"

#include "net/HttpTransfer.h"

namespace net {

HttpClient::HttpClient(const HttpSettings& settings) : settings_(settings), handle_(newCurlHandle()) {}

HttpAnswer HttpClient::get(const std::string& url) {
    HttpTransfer transfer(handle_.get(), settings_, url);
    return transfer.answer(curl_easy_perform(handle_.get()));
}

} // namespace net
