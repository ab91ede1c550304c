// SPDX-License-Identifier: MIT
#pragma once

#include "tags/FrontCover.h"
#include "tags/Verification.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/tags/Songs.h"
#include "util/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

namespace tests {

inline std::string jpegOf(int side, int seed) { return jpeg(picture(side, side, seed)); }
inline std::string pngOf(int side, int seed) { return png(picture(side, side, seed)); }

inline std::string coverOf(const std::filesystem::path& song) {
    return textOf(tags::readFrontCover(song).bytes());
}

inline void writeCover(const std::filesystem::path& song, const std::string& cover,
                       const std::filesystem::path& copy) {
    const util::FileDescriptor file(
        ::open(copy.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
    tags::writeFrontCover(song, bytesOf(cover), file);
}

/** Songs in a temporary folder. */
class SongTest : public testing::Test {
protected:
    using path = std::filesystem::path;

    [[nodiscard]] const path& folder() const { return folder_.path(); }

    /** A copy of the song with this cover. */
    path withCover(const path& song, const std::string& cover) const {
        path copy = folder() / "copy";
        copy += song.extension();
        writeCover(song, cover, copy);
        return copy;
    }

    /**
     * Writes the cover into a copy, checks that nothing else has changed, and replaces the song by the copy.
     */
    void setCover(const path& song, const std::string& cover) const {
        const path copy = withCover(song, cover);
        tags::verify(song, copy, bytesOf(cover));
        std::filesystem::rename(copy, song);
        EXPECT_TRUE(coverOf(song) == cover);
        EXPECT_TRUE(tags::alreadyHas(song, bytesOf(cover)));
        EXPECT_TRUE(firstPictureOf(song) == cover) << "another program sees something else";
    }

private:
    TemporaryFolder folder_;
};

} // namespace tests
