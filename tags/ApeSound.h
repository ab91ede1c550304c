// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Container.h"
#include "tags/SongFile.h"

namespace tags::ape {

/**
 * Compares the headers in the sound of Monkey's Audio, Musepack and WavPack with the file's size. Decodes
 * nothing.
 * @throws util::Exception when the headers announce more sound than the file contains
 */
void checkWhole(const SongFile& file, Container container);

} // namespace tags::ape
