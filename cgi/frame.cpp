// SPDX-License-Identifier: MIT
#include "cgi/frame.h"

#include "util/XMLParser.h"

#include <cgicc/HTTPContentHeader.h>

namespace frame {

bool isPost(const cgicc::Cgicc& cgi) { return cgi.getEnvironment().getRequestMethod() == "POST"; }

std::string formValue(const cgicc::Cgicc& cgi, const std::string& name) {
    const cgicc::const_form_iterator field = cgi.getElement(name);
    return field == cgi.getElements().end() ? std::string() : field->getValue();
}

void writeTestForm(cgicc::FCgiIO& out, std::string_view form) {
    out << cgicc::HTTPContentHeader("text/html") << std::endl;
    out << "<html><body>" << form << "</body></html>" << std::endl; // the form element is never closed
}

void writeSongBlock(std::ostream& xml, const SongInfo& song) {
    xml << "  <SongInfo>\n";
    xml << "    <Album>" << util::XMLParser::encode(song.getAlbum()) << "</Album>\n";
    xml << "    <Title>" << util::XMLParser::encode(song.getTitle()) << "</Title>\n";
    xml << "    <Artist>" << util::XMLParser::encode(song.getArtist()) << "</Artist>\n";
    xml << "    <Sampler>" << song.isSampler() << "</Sampler>\n";
    xml << "  </SongInfo>\n";
}

void writeError(std::ostream& xml, int code, std::string_view text) {
    xml << "  <Error code=\"" << code << "\">" << text << "</Error>\n";
}

} // namespace frame
