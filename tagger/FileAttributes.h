// SPDX-License-Identifier: MIT
#pragma once

namespace tagger {

/**
 * Gives `copy` the owner, the mode and the extended attributes of `original`, including access control lists.
 * Both must be open.
 * @throws util::Exception when one of them can't be copied
 */
void copyAttributes(int original, int copy);

} // namespace tagger
