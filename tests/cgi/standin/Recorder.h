// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/**
 * Every function of the stand-in does two things. It appends its call to the log file as one line,
 * "Class::function(arguments)", and then it follows the script file. The environment variables STANDIN_LOG
 * and STANDIN_SCRIPT name these files. Each line of the script has one of these forms:
 *
 *     Class::function return TEXT        the result; true or false, a decimal number, or a text
 *     Class::function throw util TEXT    util::Exception
 *     Class::function throw std TEXT     std::runtime_error
 *     Class::function throw other        an int
 *
 * A line applies to every call; "Class::function#2" applies to the second call only. In TEXT, \xNN stands for
 * a byte. Without the variables nothing is logged, and functions behave as their headers say. One thread.
 */
namespace standin {

/** `bytes` in quotes. Quotes, backslashes and bytes that are not printable ASCII become \xNN. */
[[nodiscard]] std::string quoted(std::string_view bytes);

/** Only logs the call. For destructors, because they must not throw. */
void record(const std::string& function, const std::string& arguments = {});

/** Follows the script: throws if the script says so. @return the scripted result, if there is one */
std::optional<std::string> obey(const std::string& function);

/** record() and obey(). */
std::optional<std::string> called(const std::string& function, const std::string& arguments = {});

bool calledForBool(bool usually, const std::string& function, const std::string& arguments = {});
int calledForInt(int usually, const std::string& function, const std::string& arguments = {});

/** During its lifetime the stand-in's functions ignore log and script. For calls by the stand-in itself. */
class Quiet {
public:
    Quiet();
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet();
};

} // namespace standin
