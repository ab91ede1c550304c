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

/** Recognised by content, not by the file's name. @throws util::Exception when it is none of these */
[[nodiscard]] Container containerOf(const SongFile& file);

[[nodiscard]] const Format& formatOf(Container container) noexcept;

/** The largest picture, in bytes, that players can handle and that every file of this kind has room for. */
[[nodiscard]] std::size_t maxPictureBytes(Container container) noexcept;

} // namespace tags
