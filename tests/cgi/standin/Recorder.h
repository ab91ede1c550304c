// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/**
 * What every function of the stand-in does: it writes its call as one line, "Class::function(arguments)", to
 * the end of the file that STANDIN_LOG names, and then does what the file that STANDIN_SCRIPT names says for
 * it. A line of the script is one of
 *
 *     Class::function return TEXT        the result; true or false, a decimal number, or a text
 *     Class::function throw util TEXT    util::Exception
 *     Class::function throw std TEXT     std::runtime_error
 *     Class::function throw other        an int
 *
 * for every call, or with "Class::function#2" for the second one only. In TEXT, \xNN stands for a byte.
 * Without these variables nothing is written, and functions behave as their headers say. One thread.
 */
namespace standin {

/** `bytes` in quotes; a quote, a backslash and what is not printable ASCII become \xNN. */
[[nodiscard]] std::string quoted(std::string_view bytes);

/** Writes the line, and nothing more: for destructors. */
void record(const std::string& function, const std::string& arguments = {});

/** Throws if the script says so. @return the scripted result, if there is one */
std::optional<std::string> obey(const std::string& function);

/** record() and obey(). */
std::optional<std::string> called(const std::string& function, const std::string& arguments = {});

bool calledForBool(bool usually, const std::string& function, const std::string& arguments = {});
int calledForInt(int usually, const std::string& function, const std::string& arguments = {});

/** While one lives, the stand-in's functions neither write nor obey: it is the stand-in itself that calls
 * them. */
class Quiet {
public:
    Quiet();
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet();
};

} // namespace standin
