// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>

namespace util {

/** Frees a block from the C allocator. */
struct FreeDeleter {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    void operator()(void* block) const noexcept { std::free(block); }
};

/**
 * Owns a block of bytes from the C allocator. C libraries return such blocks, and the caller of getRawPNG()
 * frees its block with free(). Unlike a vector, a new Buffer is not zeroed, because its bytes are overwritten
 * anyway. Move only. One thread at a time.
 */
class Buffer {
public:
    Buffer() = default;

    /** `size` bytes with undefined content. @throws std::bad_alloc */
    explicit Buffer(std::size_t size);

    /** A copy of `bytes`. @throws std::bad_alloc */
    explicit Buffer(std::span<const std::byte> bytes);

    /** Takes over `block`, which must have come from the C allocator. */
    Buffer(void* block, std::size_t size) noexcept : block_(static_cast<std::byte*>(block)), size_(size) {}

    [[nodiscard]] std::byte* data() noexcept { return block_.get(); }
    [[nodiscard]] const std::byte* data() const noexcept { return block_.get(); }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept { return {block_.get(), size_}; }

    /** Releases ownership: the caller frees the block with free(). */
    [[nodiscard]] void* release() noexcept {
        size_ = 0;
        return block_.release();
    }

private:
    std::unique_ptr<std::byte, FreeDeleter> block_;
    std::size_t size_ = 0;
};

} // namespace util
