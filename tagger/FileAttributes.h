// SPDX-License-Identifier: MIT
#pragma once

namespace tagger {

/**
 * Gives the file `copy` the owner, mode and extended attributes, access control lists among them, of
 * `original`. Both are open.
 * @throws util::Exception when one of them can't be kept
 */
void copyAttributes(int original, int copy);

} // namespace tagger
