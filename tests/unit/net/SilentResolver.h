// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tests {

/**
 * Replaces the program's getaddrinfo(). During its lifetime, look-ups of `name` get no answer. The destructor
 * makes them fail and waits until their callers have returned. One at a time.
 */
class SilentResolver {
public:
    static constexpr const char* name = "silent.invalid";

    SilentResolver();
    SilentResolver(const SilentResolver&) = delete;
    SilentResolver& operator=(const SilentResolver&) = delete;
    ~SilentResolver();

    /** Waits until somebody looks up `name`. */
    static void waitUntilAsked();
};

} // namespace tests
