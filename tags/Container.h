// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Formats.h"
#include "tags/SongFile.h"

#include <cstddef>

namespace tags {

enum class Container {
    Mp3,
    Wav,
    Aiff,
    Flac,
    OggVorbis,
    OggOpus,
    OggSpeex,
    OggFlac,
    Mp4,
    Asf,
    Ape,
    Musepack,
    WavPack,
};

/** Told by the file's content; its name doesn't count. @throws util::Exception when it is none of these */
[[nodiscard]] Container containerOf(const SongFile& file);

[[nodiscard]] const Format& formatOf(Container container) noexcept;

/** The largest picture that players can be expected to cope with, and that every file of this kind has room
 * for. */
[[nodiscard]] std::size_t maxPictureBytes(Container container) noexcept;

} // namespace tags
