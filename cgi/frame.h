// SPDX-License-Identifier: MIT
#pragma once

#include "app/SongInfo.h"
#include "cgi/FCgiIO.h"

#include <cgicc/Cgicc.h>

#include <ostream>
#include <string>
#include <string_view>

/** What the services' requests and answers have in common. */
namespace frame {

/** The first line of the XML answers that a service builds itself. */
inline constexpr std::string_view xmlDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n";

/** By the letter: "post" is no POST. */
[[nodiscard]] bool isPost(const cgicc::Cgicc& cgi);

/** The first value of the form field `name`, upper or lower case; empty when there is none. */
[[nodiscard]] std::string formValue(const cgicc::Cgicc& cgi, const std::string& name);

/** Writes the whole answer, a page around `form`: the form's opening tag and its inputs, all on one line. */
void writeTestForm(cgicc::FCgiIO& out, std::string_view form);

void writeSongBlock(std::ostream& xml, const SongInfo& song);

/** Writes the outcome of a service; `text` goes out as it is. */
void writeError(std::ostream& xml, int code, std::string_view text);

} // namespace frame
