// SPDX-License-Identifier: MIT
#pragma once

#include "util/Exception.h"

#include <string>
#include <string_view>
#include <utility>

namespace bridge {

/** What an Error document tells a program, where its sentence tells a person. */
enum class ErrorCode {
    malformed = -1,
    unknownCommand = -2,
    badField = -3,
    notThere = -4,
    refused = -5,
    away = -6,
    notAllowed = -7,
    unexpected = -8,
};

/** Why a command has no other answer than an Error document. */
class Failure : public util::Exception {
public:
    Failure(ErrorCode code, std::string sentence) : util::Exception(std::move(sentence)), code_(code) {}

    [[nodiscard]] ErrorCode code() const noexcept { return code_; }

private:
    ErrorCode code_;
};

/** The music server understood the command and says no. The connection is as good as before. */
class Refused : public Failure {
public:
    /** @param reason what the server said, in any bytes
     * @param invalidArgument whether it finds fault with an argument */
    Refused(std::string_view reason, bool invalidArgument);

    [[nodiscard]] bool invalidArgument() const noexcept { return invalidArgument_; }

private:
    bool invalidArgument_;
};

} // namespace bridge
