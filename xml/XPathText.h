// SPDX-License-Identifier: MIT
#pragma once

#include <libxml/xpath.h>

namespace xml {

/**
 * Replaces libxml2's contains(), substring-before(), substring-after() and translate() by functions that take
 * linear time. libxml2's own take quadratic time, and the limit on operations can't stop a call once it runs.
 * A stylesheet can build two texts of a megabyte in twenty steps; one call with them would take hours.
 */
void registerLinearTextFunctions(xmlXPathContext& context);

} // namespace xml
