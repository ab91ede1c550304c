// SPDX-License-Identifier: MIT
#pragma once

#include "tags/SongFile.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace tags {

/** A picture found in a song file. */
struct Picture {
    bool front = false; // marked as the front cover, not merely shown for lack of one
    std::string image;  // empty if it is only an address, or damaged
    std::string stored; // all its bytes in the file, with the description
};

/** The tags of a song file: their bytes as stored, in the order of the file. */
struct StoredTags {
    std::vector<Picture> pictures;
    std::vector<std::string> others;
};

/** Everything in a song file except its tags. A new cover must not change it. */
struct Body {
    std::vector<Range> bytes; // must stay byte for byte
    std::string layout;       // content of rewritten parts that must stay: offsets, page numbers ...
};

/** A picture to write into a song file. */
struct Cover {
    std::string_view image;
    std::string_view mime;
    bool png = false;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bitsPerPixel = 24;
};

/** For formats without a size limit. */
[[nodiscard]] constexpr std::uint64_t unlimitedRoom(const SongFile& /*file*/) noexcept {
    return std::numeric_limits<std::uint64_t>::max();
}

/** For formats that can't be parsed at all if the end of the file is missing. */
constexpr void knownByItsParts(const SongFile& /*file*/) noexcept {}

/**
 * The padding, in bytes, for a tag of `used` bytes that replaces `area` bytes. Fills the whole area, so that
 * the sound stays in place, unless that wastes too much space.
 */
[[nodiscard]] constexpr std::size_t paddingFor(std::uint64_t used, std::uint64_t area) noexcept {
    constexpr std::size_t most = std::size_t{1024} * 1024;
    constexpr std::size_t fresh = 4096;
    return used <= area && area - used <= most ? static_cast<std::size_t>(area - used) : fresh;
}

/**
 * The operations of one file format. They change only the front cover and keep everything else byte for
 * byte. All of them throw util::Exception for a file that is damaged or has an unknown layout.
 */
struct Format {
    StoredTags (*tagsOf)(const SongFile& file);
    Body (*bodyOf)(const SongFile& file);
    void (*checkWhole)(const SongFile& file); // throws if the end of the sound is known to be missing
    void (*writeFront)(SongFile& file, const Cover& cover);
    std::uint64_t (*roomIn)(const SongFile& file); // largest picture for this file, in bytes
};

extern const Format mp3Format;
extern const Format wavFormat;
extern const Format aiffFormat;
extern const Format flacFormat;
extern const Format oggFormat;
extern const Format mp4Format;
extern const Format asfFormat;
extern const Format apeFormat; // Monkey's Audio, Musepack, WavPack

} // namespace tags
