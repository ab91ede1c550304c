// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <string_view>

namespace tags::flac {

/**
 * Looks for the last frame of the sound (RFC 9639, section 9). Unknown bytes may stand behind it, up to half
 * a megabyte at least.
 * @param streamInfo the content of the block of that name
 * @throws util::Exception when the sound is cut off
 */
void checkWhole(const SongFile& file, std::string_view streamInfo, Range sound);

} // namespace tags::flac
