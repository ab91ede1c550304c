// SPDX-License-Identifier: MIT
#include "xml/XsltAllowance.h"

#include <libxml/xmlmemory.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace xml {

namespace {

constexpr std::size_t mebibyte = std::size_t{1024} * 1024;

constexpr std::size_t maxHeldBytes = 256 * mebibyte;

// A hard limit within one instruction. Exceeding maxHeldBytes only stops the transform before its next
// instruction, but a single instruction can ask for far more memory than is left.
constexpr std::size_t maxHeldBytesAtOnce = 2 * maxHeldBytes;

// Counts freed memory, too, and so limits the time spent on copying long texts. Above this limit, blocks of
// up to maxShortBytes are still granted: libxml2 may crash when it gets no memory for its small objects.
constexpr std::size_t maxAllocatedBytes = 2048 * mebibyte;
constexpr std::size_t maxShortBytes = mebibyte / 16;

// libxml2 copies a tree recursively, and a stylesheet can build a tree of any depth.
constexpr std::size_t maxStackBytes = 4 * mebibyte;

std::uintptr_t stackPosition() noexcept {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

} // namespace

// libxml2 has one allocator per process and passes it nothing but a size. So the thread is the only way to
// find the allowance.
thread_local XsltAllowance* XsltAllowance::current = nullptr;

XsltAllowance::XsltAllowance() noexcept : stackStart_(stackPosition()) { current = this; }

XsltAllowance::~XsltAllowance() { current = nullptr; }

void XsltAllowance::install() noexcept { xmlMemSetup(release, allocate, reallocate, duplicate); }

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory): this is libxml2's allocator
void* XsltAllowance::allocate(std::size_t bytes) noexcept {
    if (current != nullptr && !current->grants(bytes)) return nullptr;
    void* block = std::malloc(bytes);
    if (current != nullptr) current->count(0, malloc_usable_size(block));
    return block;
}

void* XsltAllowance::reallocate(void* block, std::size_t bytes) noexcept {
    const std::size_t before = malloc_usable_size(block);
    if (current != nullptr && bytes > before && !current->grants(bytes - before)) return nullptr;
    void* moved = std::realloc(block, bytes);
    if (current != nullptr && moved != nullptr) current->count(before, malloc_usable_size(moved));
    return moved;
}

void XsltAllowance::release(void* block) noexcept {
    if (current != nullptr) current->count(malloc_usable_size(block), 0);
    std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

char* XsltAllowance::duplicate(const char* text) noexcept {
    const std::size_t bytes = std::strlen(text) + 1;
    void* copy = allocate(bytes);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, bytes));
}

bool XsltAllowance::grants(std::size_t bytes) noexcept {
    const std::size_t left = maxHeldBytesAtOnce - std::min(heldBytes_, maxHeldBytesAtOnce);
    const bool enough = bytes <= left && (bytes <= maxShortBytes || allocatedBytes_ <= maxAllocatedBytes);
    if (enough && stackPosition() + maxStackBytes >= stackStart_) return true;
    stop();
    return false;
}

void XsltAllowance::count(std::size_t before, std::size_t after) noexcept {
    if (after > before) {
        heldBytes_ += after - before;
        allocatedBytes_ += after - before;
    } else {
        heldBytes_ -= std::min(before - after, heldBytes_); // some freed blocks are older than the allowance
    }
    if (heldBytes_ > maxHeldBytes || allocatedBytes_ > maxAllocatedBytes) stop();
}

void XsltAllowance::stop() noexcept {
    exceeded_ = true;
    if (transform_ == nullptr) return;
    transform_->opCount = transform_->opLimit;
    transform_->xpathCtxt->opCount = transform_->xpathCtxt->opLimit;
}

} // namespace xml
