// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tests {

/**
 * While one lives, the system's resolver does not answer for its name: the program's getaddrinfo() is
 * replaced. At the end the questions fail, and it waits until whoever asked has gone. One at a time.
 */
class SilentResolver {
public:
    static constexpr const char* name = "silent.invalid";

    SilentResolver();
    SilentResolver(const SilentResolver&) = delete;
    SilentResolver& operator=(const SilentResolver&) = delete;
    ~SilentResolver();

    /** Returns once somebody waits for an answer. */
    static void waitUntilAsked();
};

} // namespace tests
