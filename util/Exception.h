// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <string>

namespace util {

/**
 * The cover library's failure: one sentence that a person can act on, without paths, SQL or markup, because
 * it is sent to the client as it stands. Details belong on standard error (util/Log.h). Immutable.
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
