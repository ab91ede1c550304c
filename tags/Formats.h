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

/** A picture that is in a song file. */
struct Picture {
    bool front = false; // marked as the front cover, and not only in its place
    std::string image;  // empty where the file only names an address or is damaged there
    std::string stored; // all that the file has of it, with its description
};

/** The tags of a song file, each as its bytes stand in the file, in their order. */
struct StoredTags {
    std::vector<Picture> pictures;
    std::vector<std::string> others;
};

/** What a song file consists of besides its tags. */
struct Body {
    std::vector<Range> bytes; // what has to stay to the byte
    std::string layout; // what has to stay of the parts that are written anew: offsets, page numbers ...
};

/** A picture to be written. */
struct Cover {
    std::string_view image;
    std::string_view mime;
    bool png = false;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bitsPerPixel = 24;
};

/** Of files that can grow as they like. */
[[nodiscard]] constexpr std::uint64_t unlimitedRoom(const SongFile& /*file*/) noexcept {
    return std::numeric_limits<std::uint64_t>::max();
}

/** Of files that can't be read at all when their end is missing. */
constexpr void knownByItsParts(const SongFile& /*file*/) noexcept {}

/** How many bytes of padding a tag of `used` bytes gets where `area` bytes had been taken: all that are left,
 * so that the sound stays where it is, unless that wastes too much. */
[[nodiscard]] constexpr std::size_t paddingFor(std::uint64_t used, std::uint64_t area) noexcept {
    constexpr std::size_t most = std::size_t{1024} * 1024;
    constexpr std::size_t fresh = 4096;
    return used <= area && area - used <= most ? static_cast<std::size_t>(area - used) : fresh;
}

/**
 * What a file format needs to know how to do. All of them throw util::Exception for a file that is damaged or
 * laid out in a way that they don't know, and change nothing but the front cover, to the byte.
 */
struct Format {
    StoredTags (*tagsOf)(const SongFile& file);
    Body (*bodyOf)(const SongFile& file);
    void (*checkWhole)(const SongFile& file); // throws when it knows that the end of the sound is missing
    void (*writeFront)(SongFile& file, const Cover& cover);
    std::uint64_t (*roomIn)(const SongFile& file); // the largest picture for which this very file has room
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
