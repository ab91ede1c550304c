// SPDX-License-Identifier: MIT
#pragma once

#include "tags/FrontCover.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/tags/Songs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tests {

inline std::string jpegOf(int side, int seed) { return jpeg(picture(side, side, seed)); }
inline std::string pngOf(int side, int seed) { return png(picture(side, side, seed)); }

inline std::string coverOf(const std::filesystem::path& song) {
    return textOf(tags::readFrontCover(song).bytes());
}

/** Songs in a folder of their own. */
class SongTest : public testing::Test {
protected:
    using path = std::filesystem::path;

    [[nodiscard]] const path& folder() const { return folder_.path(); }

    path copyOf(const path& song) const {
        path copy = folder() / "copy";
        copy += song.extension();
        std::filesystem::copy_file(song, copy, std::filesystem::copy_options::overwrite_existing);
        return copy;
    }

    /** Writes the cover into a copy, proves that only the cover is new, and puts the copy in the song's
     * place. */
    void setCover(const path& song, const std::string& cover) const {
        const path copy = copyOf(song);
        tags::writeFrontCover(copy, bytesOf(cover));
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
