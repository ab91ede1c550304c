// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"
#include "util/FileDescriptor.h"

#include <cstddef>
#include <filesystem>
#include <span>

/**
 * Front covers inside song files: MP3, WAV, AIFF, FLAC, Ogg (Vorbis, Opus, Speex, FLAC), MP4, WMA, Monkey's
 * Audio, Musepack, WavPack. The kind is recognised by content. Paths must name regular files, with links
 * resolved. Every function throws util::Exception with the reason if a file is of another kind, damaged, or
 * can't be changed safely. No file stays open. Thread-safe for different files.
 */
namespace tags {

/**
 * The picture that players show for `song`: its front cover, or else its first picture. Empty if there is
 * none. Only JPEG, PNG, WebP and GIF count, recognised by content; a mere address doesn't count.
 */
[[nodiscard]] util::Buffer readFrontCover(const std::filesystem::path& song);

/** Whether `song` has a front cover and every front cover in it is exactly this picture. */
[[nodiscard]] bool alreadyHas(const std::filesystem::path& song, std::span<const std::byte> picture);

/** The largest picture, in bytes, that can be written into `song`. */
[[nodiscard]] std::size_t maxPictureBytes(const std::filesystem::path& song);

/**
 * Writes a copy of `song` with `picture`, a JPEG or PNG, as its only front cover. `copy` must be open and
 * empty. Doesn't change the song file itself.
 * @throws util::Exception also when the file shows that the end of the sound is missing
 * @throws std::system_error when the copy can't be written, such as on a full disk
 */
void writeFrontCover(const std::filesystem::path& song, std::span<const std::byte> picture,
                     const util::FileDescriptor& copy);

} // namespace tags
