// SPDX-License-Identifier: MIT
#include "tagger/SongFolder.h"

#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/jobs/Descriptors.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using tagger::SongFolder;

class SongFolderTest : public testing::Test {
protected:
    SongFolderTest() { fs::create_directories(album_); }

    tests::TemporaryFolder folder_;
    fs::path top_ = fs::canonical(folder_.path());
    fs::path album_ = top_ / "artist" / "album";
};

TEST_F(SongFolderTest, ItsFilesAreReachedThroughIt) {
    const SongFolder folder(album_);
    tests::newFile(folder.file("song"));
    EXPECT_TRUE(fs::exists(album_ / "song"));
    EXPECT_NO_THROW(folder.flush());
}

TEST_F(SongFolderTest, AFolderThatIsMovedIsTheSameFolder) {
    const SongFolder folder(album_);
    fs::rename(top_ / "artist", top_ / "moved");
    fs::create_directories(album_);
    tests::newFile(folder.file("song"));
    EXPECT_TRUE(fs::exists(top_ / "moved/album/song"));
    EXPECT_FALSE(fs::exists(album_ / "song"));
}

TEST_F(SongFolderTest, ALinkOnTheWayIsRefused) {
    fs::create_directory_symlink(top_ / "artist", top_ / "link");
    EXPECT_THROW(SongFolder(top_ / "link" / "album"), util::Exception);
    fs::create_directory_symlink(album_, top_ / "last");
    EXPECT_THROW(SongFolder(top_ / "last"), util::Exception);
}

TEST_F(SongFolderTest, OneThatHasGoneAndAFileAreRefusedWithTheReason) {
    try {
        const SongFolder folder(top_ / "nowhere");
        FAIL() << "nothing was said";
    } catch (const util::Exception& e) {
        EXPECT_STREQ(e.what(), "The folder of the song file can't be opened: No such file or directory.");
    }
    EXPECT_THROW(SongFolder(tests::newFile(top_ / "file")), util::Exception);
}

} // namespace
