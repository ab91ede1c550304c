// SPDX-License-Identifier: MIT
#include "sources/Xml.h"

#include "sources/Fields.h"
#include "util/XmlMessages.h"
#include "util/XmlRead.h"
#include "util/XmlSetUp.h"

namespace sources::xml {
namespace {

std::string_view view(const xmlChar* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

std::string take(xmlChar* text) {
    const util::XmlText owner(text);
    return std::string(view(text));
}

std::string_view nameSpaceOf(const xmlNode& node) noexcept {
    return node.ns == nullptr ? std::string_view() : view(node.ns->href);
}

} // namespace

util::XmlDoc parse(const std::string& document) {
    util::setUpXmlLibraries();
    const util::XmlMessages messages; // what is wrong with it is of no use to anybody here
    try {
        return util::readXml(document, maxParsedBytes);
    } catch (const util::Exception&) {
        throw util::Exception("The answer is no XML.");
    }
}

Element Element::rootOf(const xmlDoc& document) { return Element(xmlDocGetRootElement(&document)); }

bool Element::is(std::string_view name) const noexcept {
    return node_ != nullptr && view(node_->name) == name;
}

std::string_view Element::nameSpace() const noexcept {
    return node_ == nullptr ? std::string_view() : nameSpaceOf(*node_);
}

bool Element::isKin(const xmlNode& node, std::string_view name) const noexcept {
    return node.type == XML_ELEMENT_NODE && view(node.name) == name && nameSpaceOf(node) == nameSpace();
}

Element Element::child(std::string_view name) const noexcept {
    if (node_ == nullptr) return {};
    for (const xmlNode* node = node_->children; node != nullptr; node = node->next)
        if (isKin(*node, name)) return Element(node);
    return {};
}

std::vector<Element> Element::children(std::string_view name) const {
    std::vector<Element> found;
    if (node_ == nullptr) return found;
    for (const xmlNode* node = node_->children; node != nullptr; node = node->next)
        if (isKin(*node, name)) found.push_back(Element(node));
    return found;
}

std::string Element::text() const {
    return node_ == nullptr ? std::string() : take(xmlNodeGetContent(node_));
}

std::string Element::attribute(const char* name) const {
    return node_ == nullptr ? std::string()
                            : take(xmlGetNoNsProp(node_, reinterpret_cast<const xmlChar*>(name)));
}

} // namespace sources::xml
