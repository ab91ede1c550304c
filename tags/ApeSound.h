// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Container.h"
#include "tags/SongFile.h"

namespace tags::ape {

/**
 * Looks only at headers in the sound of Monkey's Audio, Musepack and WavPack.
 * @throws util::Exception when they say that there is more sound than the file has
 */
void checkWhole(const SongFile& file, Container container);

} // namespace tags::ape
