// SPDX-License-Identifier: MIT
#pragma once

#include <libxslt/xsltInternals.h>

#include <cstddef>
#include <cstdint>

namespace xml {

/**
 * What one stylesheet may use of memory and stack, from the allowance's creation to its end, on the thread
 * that made it. libxslt counts instructions only, and forty of them are enough to double a text to a
 * terabyte. At most one a thread.
 */
class XsltAllowance {
public:
    XsltAllowance() noexcept;
    XsltAllowance(const XsltAllowance&) = delete;
    XsltAllowance& operator=(const XsltAllowance&) = delete;
    ~XsltAllowance();

    /** Lets all memory of libxml2 be counted from now on, in the whole process. */
    static void install() noexcept;

    /** Ends the instructions of `transform`, too, when the allowance is used up; null: no longer. */
    void watch(xsltTransformContextPtr transform) noexcept { transform_ = transform; }

    /** True once more was asked for than is allowed: the result is worth nothing. */
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
