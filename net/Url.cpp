// SPDX-License-Identifier: MIT
#include "net/Url.h"

#include <algorithm>

namespace net {
namespace {

/** Rejects blanks, control characters and characters that could end an attribute. */
bool mayStandInAddress(char c) noexcept {
    return static_cast<unsigned char>(c) > ' ' && c != '\x7F' && c != '"' && c != '<' && c != '>' &&
           c != '\\';
}

} // namespace

std::string urlEncoded(std::string_view bytes) {
    constexpr std::string_view unreserved =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : bytes) {
        if (unreserved.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += {'%', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return encoded;
}

bool isWebAddress(std::string_view text) noexcept {
    if (text.size() > maxWebAddressBytes || !std::ranges::all_of(text, mayStandInAddress)) return false;
    for (const std::string_view scheme : {"https://", "http://"}) {
        if (!text.starts_with(scheme)) continue;
        const std::string_view rest = text.substr(scheme.size());
        const std::string_view server = rest.substr(0, std::min(rest.find_first_of("/?#"), rest.size()));
        return !server.empty() && server.find('@') == std::string_view::npos;
    }
    return false;
}

} // namespace net
