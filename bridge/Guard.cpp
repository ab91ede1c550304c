// SPDX-License-Identifier: MIT
#include "bridge/Guard.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>

namespace bridge {
namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return result;
}

bool isDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

bool isAddress(int family, const std::string& text) {
    in6_addr address{};
    return ::inet_pton(family, text.c_str(), &address) == 1;
}

/** "a:6680", "[::1]:6680" and both without a port; in small letters, without the brackets. */
std::string withoutPort(std::string_view header) {
    const std::size_t colon = header.rfind(':');
    const bool port = colon != std::string_view::npos && isDigits(header.substr(colon + 1));
    return lower(port ? header.substr(0, colon) : header);
}

/** XML, of whatever character set: the document says it better. */
bool isXml(std::string_view contentType) {
    const std::string_view type = contentType.substr(0, contentType.find(';'));
    const std::string essence = lower(type.substr(0, type.find_last_not_of(" \t") + 1));
    return essence == "text/xml" || essence == "application/xml";
}

/** Whoever reads the request in another way would see another one. */
bool isAmbiguous(const httplib::Request& request) {
    for (const char* header :
         {"Content-Length", "Content-Type", "Host", "Sec-Fetch-Site", "Transfer-Encoding"})
        if (request.get_header_value_count(header) > 1) return true;
    if (request.has_header("Content-Length") &&
        (request.has_header("Transfer-Encoding") || !isDigits(request.get_header_value("Content-Length"))))
        return true;
    return request.has_header("Transfer-Encoding") &&
           lower(request.get_header_value("Transfer-Encoding")) != "chunked";
}

bool isFromAnotherSite(const httplib::Request& request) {
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    return request.has_header("Origin") || (!site.empty() && site != "none" && site != "same-origin");
}

} // namespace

std::optional<Objection> Guard::objectionTo(const httplib::Request& request) const {
    // Repeated headers are refused before any is read: the HTTP library may give their values in any order.
    if (isAmbiguous(request)) return Objection{400, "The head of the request contradicts itself."};
    if (isFromAnotherSite(request)) return Objection{403, "Pages of a web site can't give commands."};
    if (!anyHost_ && !knowsHost(request.get_header_value("Host")))
        return Objection{403, "The bridge does not go by this host name."};
    if (request.method != "POST") return Objection{405, "Commands have to be sent by POST."};
    if (!isXml(request.get_header_value("Content-Type")))
        return Objection{415, "Commands have to be sent as text/xml."};
    return std::nullopt;
}

bool Guard::knowsHost(std::string_view header) const {
    const std::string host = withoutPort(header);
    if (host.starts_with('[') && host.ends_with(']'))
        return isAddress(AF_INET6, host.substr(1, host.size() - 2));
    return host == "localhost" || isAddress(AF_INET, host) ||
           std::ranges::any_of(hosts_, [&](const std::string& name) { return lower(name) == host; });
}

bool isLoopback(const std::string& address) {
    in_addr four{};
    if (::inet_pton(AF_INET, address.c_str(), &four) == 1) return ntohl(four.s_addr) >> 24U == IN_LOOPBACKNET;
    in6_addr six{};
    return ::inet_pton(AF_INET6, address.c_str(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}

} // namespace bridge
