// SPDX-License-Identifier: MIT
#include "xml/XmlElement.h"

#include "util/Exception.h"
#include "xml/XmlMessages.h"
#include "xml/XmlRead.h"
#include "xml/XmlSetUp.h"

namespace xml {
namespace {

std::string_view view(const xmlChar* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

std::string take(xmlChar* text) {
    const XmlText owner(text);
    return std::string(view(text));
}

std::string_view nameSpaceOf(const xmlNode& node) noexcept {
    return node.ns == nullptr ? std::string_view() : view(node.ns->href);
}

} // namespace

XmlDoc parseXml(const std::string& document, std::size_t maxBytes) {
    setUpXmlLibraries();
    const XmlMessages messages; // drops libxml2's messages: the caller doesn't need them
    try {
        return readXml(document, maxBytes);
    } catch (const util::Exception&) {
        throw util::Exception("The answer is no XML.");
    }
}

XmlElement XmlElement::rootOf(const xmlDoc& document) { return XmlElement(xmlDocGetRootElement(&document)); }

std::string_view XmlElement::name() const noexcept {
    return node_ == nullptr ? std::string_view() : view(node_->name);
}

bool XmlElement::is(std::string_view name) const noexcept {
    return node_ != nullptr && view(node_->name) == name;
}

std::string_view XmlElement::nameSpace() const noexcept {
    return node_ == nullptr ? std::string_view() : nameSpaceOf(*node_);
}

bool XmlElement::isKin(const xmlNode& node, std::string_view name) const noexcept {
    return node.type == XML_ELEMENT_NODE && view(node.name) == name && nameSpaceOf(node) == nameSpace();
}

XmlElement XmlElement::child(std::string_view name) const noexcept {
    if (node_ == nullptr) return {};
    for (const xmlNode* node = node_->children; node != nullptr; node = node->next)
        if (isKin(*node, name)) return XmlElement(node);
    return {};
}

std::vector<XmlElement> XmlElement::children(std::string_view name) const {
    std::vector<XmlElement> found;
    if (node_ == nullptr) return found;
    for (const xmlNode* node = node_->children; node != nullptr; node = node->next)
        if (isKin(*node, name)) found.push_back(XmlElement(node));
    return found;
}

std::vector<XmlElement> XmlElement::children() const {
    std::vector<XmlElement> found;
    if (node_ == nullptr) return found;
    for (const xmlNode* node = node_->children; node != nullptr; node = node->next)
        if (node->type == XML_ELEMENT_NODE) found.push_back(XmlElement(node));
    return found;
}

std::string XmlElement::ownText() const {
    std::string text;
    if (node_ == nullptr) return text;
    for (const xmlNode* node = node_->children; node != nullptr; node = node->next)
        if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) text += view(node->content);
    return text;
}

std::string XmlElement::text() const {
    return node_ == nullptr ? std::string() : take(xmlNodeGetContent(node_));
}

std::string XmlElement::attribute(const char* name) const {
    return node_ == nullptr ? std::string()
                            : take(xmlGetNoNsProp(node_, reinterpret_cast<const xmlChar*>(name)));
}

} // namespace xml
