// SPDX-License-Identifier: MIT
#pragma once

#include "xml/XmlHandles.h"

#include <cstddef>
#include <string>

namespace xml {

/**
 * Parses one whole document in the encoding that it declares, without the network, entities or a DTD. Wants
 * setUpXmlLibraries() before, and an XmlMessages that catches what libxml2 says.
 * @param maxBytes up to INT_MAX
 * @throws util::Exception when it is not well-formed, has a DTD or is larger
 */
[[nodiscard]] XmlDoc readXml(const std::string& document, std::size_t maxBytes);

} // namespace xml
