// SPDX-License-Identifier: MIT
#pragma once

namespace xml {

/**
 * Sets up libxml2 and libxslt for the whole process, the first time that it is called: no external entities,
 * no network, no files but those that StylesheetFiles gives out, nothing written. Thread-safe.
 */
void setUpXmlLibraries();

} // namespace xml
