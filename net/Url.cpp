// SPDX-License-Identifier: MIT
#include "net/Url.h"

namespace net {

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

} // namespace net
