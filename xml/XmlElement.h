// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XmlHandles.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace xml {

/**
 * Parses a document from another program. Logs nothing and gives no details when parsing fails.
 * @param maxBytes at most INT_MAX
 * @throws util::Exception when the document is not well-formed, has a DTD or is larger than `maxBytes`
 */
[[nodiscard]] XmlDoc parseXml(const std::string& document, std::size_t maxBytes);

/**
 * A view of one element of a document, or of none. The document must outlive it. child() and children(name)
 * search in this element's own namespace; prefixes don't matter. Immutable.
 */
class XmlElement {
public:
    XmlElement() = default;

    [[nodiscard]] static XmlElement rootOf(const xmlDoc& document);

    [[nodiscard]] explicit operator bool() const noexcept { return node_ != nullptr; }

    /** The name without its prefix; empty without an element. */
    [[nodiscard]] std::string_view name() const noexcept;

    /** Compares only the name, not the namespace. */
    [[nodiscard]] bool is(std::string_view name) const noexcept;
    [[nodiscard]] std::string_view nameSpace() const noexcept;

    /** The first child of that name; none if there is no such child or no element here. */
    [[nodiscard]] XmlElement child(std::string_view name) const noexcept;
    [[nodiscard]] std::vector<XmlElement> children(std::string_view name) const;

    /** All child elements, whatever their names and namespaces. */
    [[nodiscard]] std::vector<XmlElement> children() const;

    /** The text of the element and all its descendants. */
    [[nodiscard]] std::string text() const;

    /** The element's own text without that of its children, joined. */
    [[nodiscard]] std::string ownText() const;

    /** The value of an attribute without a namespace; empty if there is none. */
    [[nodiscard]] std::string attribute(const char* name) const;

private:
    explicit XmlElement(const xmlNode* node) noexcept : node_(node) {}

    [[nodiscard]] bool isKin(const xmlNode& node, std::string_view name) const noexcept;

    const xmlNode* node_ = nullptr;
};

} // namespace xml
