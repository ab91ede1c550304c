// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XmlHandles.h"

#include <cstddef>
#include <string>

namespace xml {

/**
 * Parses one whole document in the encoding that it declares. Uses no network and no external entities. Call
 * setUpXmlLibraries() before, and hold an XmlMessages that collects libxml2's messages.
 * @param maxBytes at most INT_MAX
 * @throws util::Exception when the document is not well-formed, has a DTD or is larger than `maxBytes`
 */
[[nodiscard]] XmlDoc readXml(const std::string& document, std::size_t maxBytes);

} // namespace xml
