// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <string_view>

namespace tags::flac {

/**
 * Looks for the last frame of the sound (RFC 9639, section 9). At least half a megabyte of unknown bytes may
 * follow that frame.
 * @param streamInfo the content of the STREAMINFO block
 * @throws util::Exception when the sound is cut off
 */
void checkWhole(const SongFile& file, std::string_view streamInfo, Range sound);

} // namespace tags::flac
