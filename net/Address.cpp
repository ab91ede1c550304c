// SPDX-License-Identifier: MIT
#include "net/Address.h"

#include <curl/curl.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace net {
namespace {

struct Network {
    std::uint32_t address;
    unsigned prefixBits;
};

constexpr std::array<Network, 10> notPublic{{
    {0x00000000, 8},  // 0.0.0.0, this host
    {0x0A000000, 8},  // 10.0.0.0, private
    {0x64400000, 10}, // 100.64.0.0, shared
    {0x7F000000, 8},  // 127.0.0.0, loopback
    {0xA9FE0000, 16}, // 169.254.0.0, link-local
    {0xAC100000, 12}, // 172.16.0.0, private
    {0xC0000000, 24}, // 192.0.0.0, protocol assignments
    {0xC0A80000, 16}, // 192.168.0.0, private
    {0xC6120000, 15}, // 198.18.0.0, benchmarks
    {0xE0000000, 3},  // 224.0.0.0, multicast, and the reserved addresses above
}};

bool isPublicIpv4(std::uint32_t address) noexcept {
    return std::none_of(notPublic.begin(), notPublic.end(), [&](const Network& network) {
        return (address ^ network.address) >> (32U - network.prefixBits) == 0;
    });
}

bool isPublicIpv4(std::span<const std::uint8_t, 4> bytes) noexcept {
    return isPublicIpv4(std::uint32_t{bytes[0]} << 24U | std::uint32_t{bytes[1]} << 16U |
                        std::uint32_t{bytes[2]} << 8U | std::uint32_t{bytes[3]});
}

bool isPublicIpv6(std::span<const std::uint8_t, 16> bytes) noexcept {
    constexpr std::array<std::uint8_t, 12> mapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF}; // ::ffff:0:0
    constexpr std::array<std::uint8_t, 12> translated{0, 0x64, 0xFF, 0x9B};                  // 64:ff9b::
    const auto front = bytes.first<12>();
    if (std::ranges::equal(front, mapped) || std::ranges::equal(front, translated))
        return isPublicIpv4(bytes.last<4>());
    if (bytes[0] == 0x20 && bytes[1] == 0x02) return isPublicIpv4(bytes.subspan<2, 4>()); // 2002::, 6to4
    return (bytes[0] & 0xE0U) == 0x20; // only 2000::/3 is public
}

struct UrlDeleter {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};

} // namespace

bool isPublic(const sockaddr& address) noexcept {
    if (address.sa_family == AF_INET)
        return isPublicIpv4(ntohl(reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr));
    if (address.sa_family == AF_INET6)
        return isPublicIpv6(reinterpret_cast<const sockaddr_in6&>(address).sin6_addr.s6_addr);
    return false;
}

std::string withoutSecrets(const std::string& url) {
    constexpr const char* unreadable = "(not shown: it can't be read)";
    const std::unique_ptr<CURLU, UrlDeleter> parsed(curl_url());
    if (!parsed ||
        curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
        return unreadable;
    for (const CURLUPart part :
         {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_QUERY, CURLUPART_FRAGMENT})
        curl_url_set(parsed.get(), part, nullptr, 0);
    char* text = nullptr;
    const CURLUcode code = curl_url_get(parsed.get(), CURLUPART_URL, &text, 0);
    const std::unique_ptr<char, decltype(&curl_free)> owned(text, &curl_free);
    return code == CURLUE_OK ? owned.get() : unreadable;
}

} // namespace net
