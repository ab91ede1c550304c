// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <string>

namespace util {

/**
 * A failure of the cover library. The text is one sentence that a person can act on. It is sent to the client
 * unchanged, so it must not contain paths, SQL or markup. Log details to standard error (util/Log.h).
 * Immutable.
 */
class Exception : public std::exception {
public:
    explicit Exception(std::string text);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;

    std::string GetText();
    std::string GetText() const;
    [[nodiscard]] const char* what() const noexcept override;

private:
    std::string text_;
};

} // namespace util
