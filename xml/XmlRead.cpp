// SPDX-License-Identifier: MIT
#include "xml/XmlRead.h"

#include "util/Exception.h"

#include <new>

namespace xml {

namespace {

void refuseDtd(void* parser, const xmlChar*, const xmlChar*, const xmlChar*) noexcept {
    auto* reader = static_cast<xmlParserCtxtPtr>(parser);
    reader->wellFormed = 0;
    xmlStopParser(reader);
}

} // namespace

XmlDoc readXml(const std::string& document, std::size_t maxBytes) {
    if (document.size() > maxBytes) throw util::Exception("It is too large.");
    const XmlReader reader(xmlNewParserCtxt());
    if (!reader) throw std::bad_alloc();
    reader->sax->internalSubset = refuseDtd;
    XmlDoc parsed(xmlCtxtReadMemory(reader.get(), document.data(), static_cast<int>(document.size()), nullptr,
                                    nullptr, XML_PARSE_NONET));
    if (reader->errNo == XML_ERR_USER_STOP) throw util::Exception("It has a document type declaration.");
    if (!parsed) throw util::Exception("It is not well-formed.");
    // libxml2 stops at a zero byte and ignores the rest.
    if (reader->input == nullptr || reader->input->cur != reader->input->end)
        throw util::Exception("Something follows its end.");
    return parsed;
}

} // namespace xml
