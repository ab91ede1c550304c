// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"

#include "cgi/frame.h"
#include "util/XMLParser.h"

#include <cgicc/HTTPContentHeader.h>
#include <cgicc/HTTPStatusHeader.h>

#include <iostream>

CoverCache cache;

namespace {

struct TextField {
    const char* name;
    void (SongInfo::*set)(std::string);
};

constexpr TextField textFields[] = {
    {"title", &SongInfo::setTitle},
    {"artist", &SongInfo::setArtist},
    {"album", &SongInfo::setAlbum},
    {"url", &SongInfo::setImageUrl},
};

/** The result of the stylesheet; empty when `document` can't be parsed or there is no result. */
std::string transformed(const std::string& document, const std::string& stylesheet) {
    util::XMLParser parser;
    return parser.parse(document) ? parser.transform(stylesheet.c_str()) : std::string();
}

/** HTML for a page that declares the XSL-FO namespace, plain text for any other result of a stylesheet. */
const char* contentType(const std::string& result) {
    const bool declaresFormattingObjects =
        result.find("xmlns:fo=\"http://www.w3.org/1999/XSL/Format\"") != std::string::npos;
    return declaresFormattingObjects ? "text/html" : "text/plain";
}

} // namespace

SongInfo ExtractSongInfo(cgicc::Cgicc cgi) {
    SongInfo si;
    for (const auto& [name, set] : textFields) {
        const std::string value = frame::formValue(cgi, name);
        if (!value.empty()) (si.*set)(value);
    }
    const std::string sampler = frame::formValue(cgi, "sampler");
    if (sampler == "1" || sampler == "true" || sampler == "on") si.setSampler(true);

    std::cerr << "sleevery.fcgi, received SongInfo" << std::endl;
    si.Dump();
    return si;
}

void SendResponse(cgicc::Cgicc cgi, cgicc::FCgiIO& out, std::string response) {
    try {
        const std::string stylesheet = frame::formValue(cgi, "xslt");
        const std::string result = stylesheet.empty() ? std::string() : transformed(response, stylesheet);
        if (result.empty()) {
            out << cgicc::HTTPContentHeader("text/xml") << response;
        } else {
            out << cgicc::HTTPContentHeader(contentType(result)) << result << std::flush;
        }
    } catch (...) {
        out << cgicc::HTTPStatusHeader(500, "Internal Server Error") << std::endl;
        out << "Internal Server Error" << std::endl << std::endl;
    }
}
