// SPDX-License-Identifier: MIT
#include "util/XMLParser.h"

#include "tests/cgi/standin/Recorder.h"

namespace util {

XMLParser::XMLParser() { standin::called("XMLParser::XMLParser"); }

XMLParser::~XMLParser() { standin::record("XMLParser::~XMLParser"); }

std::string XMLParser::encode(std::string value) {
    if (auto result = standin::called("XMLParser::encode", standin::quoted(value))) return *result;
    std::string escaped;
    for (const char c : value) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

// Refuses only an empty document. Tests script every other failure.
bool XMLParser::parse(std::string document) {
    return standin::calledForBool(!document.empty(), "XMLParser::parse", standin::quoted(document));
}

// The stand-in has no stylesheets, so the result is empty unless it is scripted.
std::string XMLParser::transform(const char* stylesheet) {
    return standin::called("XMLParser::transform", standin::quoted(stylesheet)).value_or("");
}

} // namespace util
