// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace store {

/** The SHA-256 of `bytes` as 64 lower-case hexadecimal digits. @throws util::Exception */
[[nodiscard]] std::string sha256(std::span<const std::byte> bytes);

} // namespace store
