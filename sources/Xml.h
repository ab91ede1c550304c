// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Fields.h"
#include "util/XmlElement.h"

#include <string>

// Answers in XML.

namespace sources::xml {

using Element = util::XmlElement;

/** @throws util::Exception for what is no XML document, has a DTD or more than maxParsedBytes */
[[nodiscard]] inline util::XmlDoc parse(const std::string& document) {
    return util::parseXml(document, maxParsedBytes);
}

} // namespace sources::xml
