// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"
#include "util/FileDescriptor.h"

#include <cstddef>
#include <filesystem>
#include <span>

/**
 * Front covers inside song files: MP3, WAV, AIFF, FLAC, Ogg (Vorbis, Opus, Speex, FLAC), MP4, WMA, Monkey's
 * Audio, Musepack, WavPack. Which of them a file is, its content tells. Paths are those of regular files,
 * links resolved. Everything here throws util::Exception, which says why, for a file that is none of them,
 * damaged, or laid out in a way that can't be changed safely. Nothing keeps a file open. Thread-safe for
 * different files.
 */
namespace tags {

/**
 * The picture that players show for `song`: its front cover, or else its first picture. Empty where there is
 * none; what is not a JPEG, PNG, WebP or GIF image by its content, or only the address of one, counts as
 * none.
 */
[[nodiscard]] util::Buffer readFrontCover(const std::filesystem::path& song);

/** True when every front cover in `song` is exactly this picture, and there is one. */
[[nodiscard]] bool alreadyHas(const std::filesystem::path& song, std::span<const std::byte> picture);

/** How large a picture may be to be written into `song`. */
[[nodiscard]] std::size_t maxPictureBytes(const std::filesystem::path& song);

/**
 * Writes a copy of `song` that has `picture`, a JPEG or PNG, as its only front cover, to the empty open file
 * `copy`. The song file itself is only read.
 * @throws util::Exception also when the end of the sound is missing, as far as the file tells
 * @throws std::system_error when the copy can't be written: the disk is full, for one
 */
void writeFrontCover(const std::filesystem::path& song, std::span<const std::byte> picture,
                     const util::FileDescriptor& copy);

} // namespace tags
