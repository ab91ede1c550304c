// SPDX-License-Identifier: MIT
#pragma once

namespace xml {

/**
 * Sets up libxml2 and libxslt for the whole process; only the first call has an effect. From then on
 * they use no external entities and no network, write nothing, and read files only by StylesheetFiles.
 * Thread-safe.
 */
void setUpXmlLibraries();

} // namespace xml
