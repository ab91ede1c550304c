// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <cstdint>

/**
 * Frames of MPEG audio (ISO/IEC 11172-3 and 13818-3, layers 1 to 3). `at` is the end of the tags before them.
 */
namespace tags::mpeg {

/**
 * Whether there are several frames in a row, which don't occur by chance. Also true if the file is cut off in
 * the first of them.
 */
[[nodiscard]] bool isSoundAt(const SongFile& file, std::uint64_t at);

/**
 * Anything may follow the last frame.
 * @throws util::Exception when the last frame goes beyond the end of the file, or the file is shorter than
 * the encoder's header (Xing, Info or VBRI) says
 */
void checkWhole(const SongFile& file, std::uint64_t at);

} // namespace tags::mpeg
