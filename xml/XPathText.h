// SPDX-License-Identifier: MIT
#pragma once

#include <libxml/xpath.h>

namespace xml {

/**
 * Puts functions that take linear time in the place of libxml2's contains(), substring-before(),
 * substring-after() and translate(). Those compare every place of one text with all of the other: two texts
 * of a megabyte, which a stylesheet makes out of nothing in twenty steps, would keep a responder busy for
 * hours, within one single operation.
 */
void registerLinearTextFunctions(xmlXPathContext& context);

} // namespace xml
