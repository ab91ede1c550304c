// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Bytes.h"
#include "tests/unit/tags/Songs.h"

#include <filesystem>
#include <string>

namespace tests {

inline std::string syncSafe(std::size_t number) {
    return {static_cast<char>(number >> 21U & 0x7FU), static_cast<char>(number >> 14U & 0x7FU),
            static_cast<char>(number >> 7U & 0x7FU), static_cast<char>(number & 0x7FU)};
}

inline std::string id3v2(char version, const std::string& frames) {
    return std::string("ID3") + version + std::string(2, '\0') + syncSafe(frames.size()) + frames;
}

/** Appends an atom to the movie. The movie must be at the end of the file. */
inline void appendToMovie(const std::filesystem::path& song, const std::string& bytes) {
    std::string file = fileBytes(song);
    const std::size_t at = file.rfind("moov") - 4;
    file.replace(at, 4, tags::bigEndian(file.size() - at + bytes.size(), 4));
    writeFile(song, file + bytes);
}

/** An MP4 without tags. */
inline std::filesystem::path bareMp4(const std::filesystem::path& folder) {
    std::filesystem::path song = makeSong("aac", folder);
    std::string file = fileBytes(song);
    file.replace(file.rfind("udta"), 4, "free");
    writeFile(song, file);
    return song;
}

} // namespace tests
