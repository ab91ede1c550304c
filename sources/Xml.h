// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Fields.h"
#include "xml/XmlElement.h"

#include <string>

// Answers in XML.

namespace sources::xml {

using Element = xml::XmlElement;

/** @throws util::Exception if it isn't XML, has a DTD, or is larger than maxParsedBytes */
[[nodiscard]] inline xml::XmlDoc parse(const std::string& document) {
    return xml::parseXml(document, maxParsedBytes);
}

} // namespace sources::xml
