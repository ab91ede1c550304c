// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/SongUpdate.h"

namespace jobs {

/** The main function of the programs that write covers into songs, which differ in how they make a picture
 * fit. jobs/TaggerProtocol.h tells the arguments. */
[[nodiscard]] int runTagger(int count, char** arguments, const Fit& fit);

} // namespace jobs
