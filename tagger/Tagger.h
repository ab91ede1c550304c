// SPDX-License-Identifier: MIT
#pragma once

#include "tagger/SongUpdate.h"

namespace tagger {

/** The main function of the programs that write covers into songs, which differ in how they make a picture
 * fit. tagger/Protocol.h tells the arguments. */
[[nodiscard]] int runTagger(int count, char** arguments, const Fit& fit);

} // namespace tagger
