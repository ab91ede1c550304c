// SPDX-License-Identifier: MIT
#pragma once

#include <libxslt/xsltInternals.h>

#include <cstddef>
#include <cstdint>

namespace xml {

/**
 * Limits the memory and stack that one stylesheet uses. libxslt itself limits only the number of
 * instructions, and forty instructions can double a text to a terabyte. Applies during its lifetime to the
 * thread that created it. A thread has at most one.
 */
class XsltAllowance {
public:
    XsltAllowance() noexcept;
    XsltAllowance(const XsltAllowance&) = delete;
    XsltAllowance& operator=(const XsltAllowance&) = delete;
    ~XsltAllowance();

    /** Makes libxml2 use the counting allocator, for the whole process. */
    static void install() noexcept;

    /** Stops `transform` before its next instruction when a limit is exceeded. Null ends that. */
    void watch(xsltTransformContextPtr transform) noexcept { transform_ = transform; }

    /** Whether a limit has been exceeded. If so, the result may be wrong. */
    [[nodiscard]] bool exceeded() const noexcept { return exceeded_; }

private:
    static void* allocate(std::size_t bytes) noexcept;
    static void* reallocate(void* block, std::size_t bytes) noexcept;
    static void release(void* block) noexcept;
    static char* duplicate(const char* text) noexcept;
    bool grants(std::size_t bytes) noexcept;
    void count(std::size_t before, std::size_t after) noexcept;
    void stop() noexcept;

    static thread_local XsltAllowance* current;

    xsltTransformContextPtr transform_ = nullptr;
    std::uintptr_t stackStart_;
    std::size_t heldBytes_ = 0;
    std::size_t allocatedBytes_ = 0;
    bool exceeded_ = false;
};

} // namespace xml
