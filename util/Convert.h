// SPDX-License-Identifier: MIT
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>

namespace util {

/** Thrown for a text that is not a number. what() is the text itself: the client's answer shows it. */
class BadConversion : public std::runtime_error {
public:
    explicit BadConversion(const std::string& s) : std::runtime_error(s) {}
};

/**
 * Reads the number at the start of `s` into `x`. Skips leading white space.
 * @param failIfLeftoverChars refuse any character after the number, even a blank
 * @throws BadConversion when `s` is refused
 */
template <typename T>
inline void convert(const std::string& s, T& x, bool failIfLeftoverChars = true) {
    std::istringstream in(s);
    char leftover = 0;
    if (!(in >> x) || (failIfLeftoverChars && in.get(leftover))) throw BadConversion(s);
}

/** Like convert(), but returns the number. */
template <typename T>
inline T convertTo(const std::string& s, bool failIfLeftoverChars = true) {
    T x{};
    convert<T>(s, x, failIfLeftoverChars);
    return x;
}

} // namespace util
