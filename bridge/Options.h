// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Mpd.h"
#include "util/Exception.h"

#include <string>
#include <vector>

namespace bridge {

/** What the command line says. */
struct Options {
    std::string address = "127.0.0.1"; // in digits, without brackets
    int port = 6680;                   // 0: the system chooses one
    std::string socket;                // a path, which takes the place of address and port; or empty
    std::vector<std::string> hosts;    // other names that the bridge may be called by
    MpdAddress mpd;
};

/** A command line that can't be followed. Its sentence is for who wrote it, and may name options and files.
 */
class BadOptions : public util::Exception {
public:
    using util::Exception::Exception;
};

/** Somebody asked for the options; the text that explains them. */
class HelpWanted : public util::Exception {
public:
    using util::Exception::Exception;
};

/** @throws BadOptions, HelpWanted */
[[nodiscard]] Options readOptions(int count, const char* const* arguments);

} // namespace bridge
