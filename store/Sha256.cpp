// SPDX-License-Identifier: MIT
#include "store/Sha256.h"

#include "util/Exception.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <array>

namespace store {

std::string sha256(std::span<const std::byte> bytes) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1)
        throw util::Exception("The SHA-256 of an image could not be computed.");
    std::string hex;
    for (unsigned int i = 0; i < length; ++i)
        fmt::format_to(std::back_inserter(hex), "{:02x}", digest.at(i));
    return hex;
}

} // namespace store
