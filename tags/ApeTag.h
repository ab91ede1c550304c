// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <cstdint>

namespace tags::ape {

/** Where the APEv2 tag and the ID3v1 tag at the end of the file begin; the file's size if there are none. */
[[nodiscard]] std::uint64_t soundEnd(const SongFile& file);

} // namespace tags::ape
