// SPDX-License-Identifier: MIT
#pragma once

#include "tagger/SongUpdate.h"

namespace tagger {

/**
 * The main function of the programs that write covers into songs. They differ only in `fit`. See
 * tagger/Protocol.h for the arguments.
 */
[[nodiscard]] int runTagger(int count, char** arguments, const Fit& fit);

} // namespace tagger
