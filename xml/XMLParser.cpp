// SPDX-License-Identifier: MIT
#include "xml/XMLParser.h"

#include "util/Exception.h"
#include "util/Log.h"
#include "xml/Stylesheet.h"
#include "xml/StylesheetFiles.h"
#include "xml/XPathText.h"
#include "xml/XmlHandles.h"
#include "xml/XmlMessages.h"
#include "xml/XmlRead.h"
#include "xml/XmlSetUp.h"

#include <fmt/format.h>
#include <libxml/xpathInternals.h>

#include <exception>
#include <new>
#include <utility>

namespace util {

namespace {

constexpr std::size_t maxDocumentBytes = std::size_t{64} * 1024 * 1024;
constexpr unsigned long maxXPathOperations = 5'000'000;

// Set once, together with the libraries' process-wide settings. Only read afterwards, so it needs no lock.
StylesheetFolders& stylesheetFolders() {
    static StylesheetFolders folders;
    return folders;
}

const xmlChar* toXml(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

std::string transformed(xmlDocPtr document, const char* stylesheet) {
    if (document == nullptr) throw Exception("There is no document to transform.");
    const StylesheetFolders& folders = stylesheetFolders();
    const auto path =
        xml::findStylesheet(stylesheet, folders ? folders() : std::vector<std::filesystem::path>{});
    const xml::XmlDoc source(xmlCopyDoc(document, 1)); // a copy: the stylesheet may strip its white space
    if (!source) throw std::bad_alloc();
    std::string result = xml::Stylesheet(path).apply(*source);
    if (result.empty()) throw Exception("The result is empty.");
    return result;
}

std::string take(xmlChar* text) {
    const xml::XmlText owner(text);
    if (text == nullptr) throw std::bad_alloc();
    return reinterpret_cast<const char*>(text);
}

std::vector<std::string> stringValues(xmlXPathObject& found) {
    if (found.type != XPATH_NODESET) return {take(xmlXPathCastToString(&found))};
    std::vector<std::string> values;
    const int count = xmlXPathNodeSetGetLength(found.nodesetval);
    values.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        values.push_back(take(xmlXPathCastNodeToString(xmlXPathNodeSetItem(found.nodesetval, i))));
    return values;
}

} // namespace

XMLParser::XMLParser() { xml::setUpXmlLibraries(); }

XMLParser::~XMLParser() { xmlFreeDoc(document_); }

void XMLParser::setUp(StylesheetFolders folders) {
    xml::setUpXmlLibraries();
    stylesheetFolders() = std::move(folders);
}

std::string XMLParser::encode(std::string value) {
    std::string encoded;
    encoded.reserve(value.size());
    for (const char c : value) {
        switch (c) {
        case '&':
            encoded += "&amp;";
            break;
        case '<':
            encoded += "&lt;";
            break;
        case '>':
            encoded += "&gt;";
            break;
        default:
            encoded += c;
        }
    }
    return encoded;
}

bool XMLParser::parse(std::string document) {
    xmlFreeDoc(std::exchange(document_, nullptr));
    const xml::XmlMessages messages;
    try {
        document_ = xml::readXml(document, maxDocumentBytes).release();
        return true;
    } catch (const Exception& refusal) {
        const std::string said = messages.line();
        logLine(fmt::format("XML document refused: {}", said.empty() ? refusal.what() : said));
        return false;
    }
}

std::string XMLParser::transform(const char* stylesheet) {
    const xml::XmlMessages messages;
    const std::string name = printable(stylesheet == nullptr ? "" : stylesheet, 100);
    try {
        std::string result = transformed(document_, stylesheet);
        if (const std::string said = messages.line(); !said.empty()) {
            logLine(fmt::format("stylesheet \"{}\" says: {}", name, said));
        }
        return result;
    } catch (const std::exception& failure) {
        const std::string said = messages.line();
        logLine(
            fmt::format("stylesheet \"{}\": {}{}{}", name, failure.what(), said.empty() ? "" : " ", said));
        return {};
    }
}

std::vector<std::string> XMLParser::select(const std::string& xpath, const Namespaces& namespaces) const {
    if (document_ == nullptr) throw Exception("There is no document to read from.");
    const xml::XmlMessages messages;
    const xml::XPathContext context(xmlXPathNewContext(document_));
    if (!context) throw std::bad_alloc();
    context->opLimit = maxXPathOperations;
    xml::registerLinearTextFunctions(*context);
    for (const auto& [prefix, uri] : namespaces) {
        if (xmlXPathRegisterNs(context.get(), toXml(prefix), toXml(uri)) != 0)
            throw Exception("A namespace prefix is wrong.");
    }
    const xml::XPathObject found(xmlXPathEvalExpression(toXml(xpath), context.get()));
    if (!found) {
        logLine(fmt::format("XPath \"{}\": {}", printable(xpath), messages.line()));
        throw Exception("An XPath expression can't be evaluated.");
    }
    return stringValues(*found);
}

} // namespace util
