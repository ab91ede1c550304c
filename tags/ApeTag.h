// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <cstdint>

namespace tags::ape {

/** Where an APEv2 tag and an ID3v1 tag at the end of the file begin; its size where there are none. */
[[nodiscard]] std::uint64_t soundEnd(const SongFile& file);

} // namespace tags::ape
