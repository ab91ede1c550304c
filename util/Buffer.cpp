// SPDX-License-Identifier: MIT
#include "util/Buffer.h"

#include <cstring>
#include <new>

namespace util {

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
Buffer::Buffer(std::size_t size)
    : block_(static_cast<std::byte*>(std::malloc(size == 0 ? 1 : size))), size_(size) {
    if (!block_) throw std::bad_alloc();
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

Buffer::Buffer(std::span<const std::byte> bytes) : Buffer(bytes.size()) {
    if (!bytes.empty()) std::memcpy(block_.get(), bytes.data(), bytes.size());
}

} // namespace util
