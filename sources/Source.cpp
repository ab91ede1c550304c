// SPDX-License-Identifier: MIT
#include "sources/Source.h"

#include <fmt/format.h>

#include <algorithm>

namespace sources {

std::string fullUrl(const Request& request) {
    std::string url = request.url;
    const auto mark = url.find(Request::secretMark);
    if (mark != std::string::npos) url.replace(mark, Request::secretMark.size(), request.secretSegment);
    return url + request.secretQuery;
}

std::string usableKey(const ParameterReader& parameter, std::string_view name) {
    const std::string key = parameter(name);
    const bool good = std::ranges::all_of(key, [](char c) { return c > ' ' && c <= '~'; });
    return good ? key : std::string();
}

void needSuccess(const net::HttpAnswer& answer) {
    switch (answer.status) {
    case 200:
        return;
    case 400:
        throw util::Exception("The service doesn't understand the question.");
    case 401:
        throw util::Exception("The service doesn't accept the key that is set for it.");
    case 429:
    case 503:
        throw Busy("The service has too much to do.", answer.retryAfter);
    default:
        if (answer.status >= 500) throw Busy("The service is out of order.", answer.retryAfter);
        throw util::Exception(fmt::format("The service answers with the status {}.", answer.status));
    }
}

} // namespace sources
