// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <cstdint>

/** Frames of MPEG audio (ISO/IEC 11172-3 and 13818-3, layers 1 to 3). `at` is where the tags before them end.
 */
namespace tags::mpeg {

/** Told by frames in a row, which don't come about by chance; also where the file is cut off in the first of
 * them. */
[[nodiscard]] bool isSoundAt(const SongFile& file, std::uint64_t at);

/**
 * Whatever is not sound may stand behind the last frame.
 * @throws util::Exception when that frame goes beyond the end of the file, or the file is shorter than the
 * header that encoders write before the sound (Xing's, also called Info, or VBRI) says
 */
void checkWhole(const SongFile& file, std::uint64_t at);

} // namespace tags::mpeg
