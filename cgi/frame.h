// SPDX-License-Identifier: MIT
#pragma once

#include "app/SongInfo.h"
#include "cgi/FCgiIO.h"

#include <cgicc/Cgicc.h>

#include <ostream>
#include <string>
#include <string_view>

/** Helpers for the services' requests and answers. */
namespace frame {

/** The first line of an XML answer that a service builds itself. */
inline constexpr std::string_view xmlDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n";

/** Compares the method case-sensitively: "post" is not POST. */
[[nodiscard]] bool isPost(const cgicc::Cgicc& cgi);

/** The first value of the form field `name` (case-insensitive); empty without that field. */
[[nodiscard]] std::string formValue(const cgicc::Cgicc& cgi, const std::string& name);

/**
 * Writes the whole answer, an HTML page with `form`.
 * @param form the form's opening tag and its inputs, in one line
 */
void writeTestForm(cgicc::FCgiIO& out, std::string_view form);

void writeSongBlock(std::ostream& xml, const SongInfo& song);

/** Writes a service's result code and text. `text` is not escaped. */
void writeError(std::ostream& xml, int code, std::string_view text);

} // namespace frame
