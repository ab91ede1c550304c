// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XmlHandles.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace xml {

/**
 * Parses what another program sent, and says nothing of what is wrong with it.
 * @param maxBytes up to INT_MAX
 * @throws util::Exception for what is no XML document, has a DTD or is larger
 */
[[nodiscard]] XmlDoc parseXml(const std::string& document, std::size_t maxBytes);

/** An element of a document, which has to live longer, or none. Its relatives are found by their names in its
 * own namespace, whatever the prefixes are. Immutable. */
class XmlElement {
public:
    XmlElement() = default;

    [[nodiscard]] static XmlElement rootOf(const xmlDoc& document);

    [[nodiscard]] explicit operator bool() const noexcept { return node_ != nullptr; }

    /** Without its prefix; empty where there is no element. */
    [[nodiscard]] std::string_view name() const noexcept;

    /** By name; nothing is said of the namespace. */
    [[nodiscard]] bool is(std::string_view name) const noexcept;
    [[nodiscard]] std::string_view nameSpace() const noexcept;

    /** The first child of that name; none where there is none, or no element here. */
    [[nodiscard]] XmlElement child(std::string_view name) const noexcept;
    [[nodiscard]] std::vector<XmlElement> children(std::string_view name) const;

    /** Of any name and namespace. */
    [[nodiscard]] std::vector<XmlElement> children() const;

    /** Of the element and all below. */
    [[nodiscard]] std::string text() const;

    /** What stands beside its children, in one. */
    [[nodiscard]] std::string ownText() const;

    /** Of an attribute without a namespace; empty where there is none. */
    [[nodiscard]] std::string attribute(const char* name) const;

private:
    explicit XmlElement(const xmlNode* node) noexcept : node_(node) {}

    [[nodiscard]] bool isKin(const xmlNode& node, std::string_view name) const noexcept;

    const xmlNode* node_ = nullptr;
};

} // namespace xml
