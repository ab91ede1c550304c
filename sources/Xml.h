// SPDX-License-Identifier: MIT
#pragma once

#include "util/XmlHandles.h"

#include <string>
#include <string_view>
#include <vector>

// Answers in XML.

namespace sources::xml {

/** @throws util::Exception for what is no XML document, has a DTD or more than maxParsedBytes */
[[nodiscard]] util::XmlDoc parse(const std::string& document);

/** An element of a document, which has to live longer, or none. Its relatives are found by their names in its
 * own namespace, whatever the prefixes are. Immutable. */
class Element {
public:
    Element() = default;

    [[nodiscard]] static Element rootOf(const xmlDoc& document);

    [[nodiscard]] explicit operator bool() const noexcept { return node_ != nullptr; }

    /** By name; nothing is said of the namespace. */
    [[nodiscard]] bool is(std::string_view name) const noexcept;
    [[nodiscard]] std::string_view nameSpace() const noexcept;

    /** The first child of that name; none where there is none, or no element here. */
    [[nodiscard]] Element child(std::string_view name) const noexcept;
    [[nodiscard]] std::vector<Element> children(std::string_view name) const;

    /** Of the element and all below. */
    [[nodiscard]] std::string text() const;

    /** Of an attribute without a namespace; empty where there is none. */
    [[nodiscard]] std::string attribute(const char* name) const;

private:
    explicit Element(const xmlNode* node) noexcept : node_(node) {}

    [[nodiscard]] bool isKin(const xmlNode& node, std::string_view name) const noexcept;

    const xmlNode* node_ = nullptr;
};

} // namespace sources::xml
