// SPDX-License-Identifier: MIT
#include "tags/MusicFolder.h"

#include "tests/unit/TemporaryFolder.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using tags::folderOf;
using tags::songIn;

class MusicFolder : public testing::Test {
protected:
    MusicFolder() {
        for (const fs::path& folder : {album_, top_ / "music2", top_ / "outside"}) {
            fs::create_directories(folder);
            std::ofstream(folder / "one.flac") << "music";
        }
    }

    /** The reason why songIn() refuses the song. Expects folderOf() to refuse it too. */
    [[nodiscard]] std::string refusal(const fs::path& song) const { return refusal(music_, song); }

    static std::string refusal(const fs::path& musicFolder, const fs::path& song) {
        EXPECT_THROW(static_cast<void>(folderOf(musicFolder, song)), util::Exception);
        try {
            return "(not refused) " + songIn(musicFolder, song).string();
        } catch (const util::Exception& e) {
            return e.what();
        }
    }

    tests::TemporaryFolder folder_;
    fs::path top_ = fs::canonical(folder_.path());
    fs::path music_ = top_ / "music";
    fs::path album_ = music_ / "album";
};

constexpr const char* outside = "The song file is outside the folder that the parameter musicFolder names.";

TEST_F(MusicFolder, ASongIsNamedFromTheMusicFolderOrFromTheRoot) {
    for (const fs::path& name :
         {fs::path("album/one.flac"), album_ / "one.flac", fs::path("album/../album/./one.flac"),
          fs::path("../music/album/one.flac")}) {
        EXPECT_EQ(songIn(music_, name), album_ / "one.flac");
        EXPECT_EQ(folderOf(music_, name), album_);
    }
    EXPECT_EQ(songIn(music_ / "", "album/one.flac"), album_ / "one.flac");
    EXPECT_EQ(songIn("/", album_ / "one.flac"), album_ / "one.flac");
}

TEST_F(MusicFolder, WithoutOneNothingIsASong) {
    EXPECT_EQ(refusal("", album_ / "one.flac"), "The parameter musicFolder is not set.");
    const auto* const missing = "The folder that the parameter musicFolder names is not there.";
    EXPECT_EQ(refusal(top_ / "nowhere", album_ / "one.flac"), missing);
    EXPECT_EQ(refusal(album_ / "one.flac", album_ / "one.flac"), missing);
}

TEST_F(MusicFolder, WhatIsOutsideIsRefused) {
    EXPECT_EQ(refusal("../outside/one.flac"), outside);
    EXPECT_EQ(refusal(top_ / "outside/one.flac"), outside);
    EXPECT_EQ(refusal(top_ / "music2/one.flac"), outside);
    EXPECT_EQ(refusal(music_), outside);
    EXPECT_EQ(refusal(""), outside);
}

TEST_F(MusicFolder, ALinkIsWhatItLeadsTo) {
    fs::create_symlink(album_ / "one.flac", music_ / "inside.flac");
    fs::create_symlink(top_ / "outside/one.flac", music_ / "outside.flac");
    fs::create_directory_symlink(top_ / "outside", music_ / "folder");
    fs::create_directory_symlink(music_, top_ / "link");
    EXPECT_EQ(songIn(music_, "inside.flac"), album_ / "one.flac");
    EXPECT_EQ(folderOf(music_, "inside.flac"), music_) << "its own";
    EXPECT_EQ(refusal("outside.flac"), outside);
    EXPECT_EQ(refusal("folder/one.flac"), outside);
    EXPECT_EQ(songIn(top_ / "link", "album/one.flac"), album_ / "one.flac");
    EXPECT_EQ(songIn(music_, top_ / "link/album/one.flac"), album_ / "one.flac");
}

TEST_F(MusicFolder, ALinkFromOutsideIsASongButItsFolderIsNoneOfOurs) {
    fs::create_symlink(album_ / "one.flac", top_ / "outside/link.flac");
    EXPECT_EQ(songIn(music_, top_ / "outside/link.flac"), album_ / "one.flac");
    EXPECT_THROW(static_cast<void>(folderOf(music_, top_ / "outside/link.flac")), util::Exception);
}

TEST_F(MusicFolder, WhatIsNoFileIsRefused) {
    const auto* const missing = "The song file is not there.";
    EXPECT_EQ(refusal("album/two.flac"), missing);
    EXPECT_EQ(refusal("album/one.flac/more"), missing);
    EXPECT_EQ(refusal(std::string(100'000, 'x')), missing);
    fs::create_symlink("loop", music_ / "loop");
    EXPECT_EQ(refusal("loop"), missing);
    const auto* const noFile = "This is not a regular file.";
    EXPECT_EQ(refusal("album"), noFile);
    ASSERT_EQ(::mkfifo((music_ / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(refusal("pipe"), noFile);
    EXPECT_EQ(refusal("album/one.flac\0.jpg"s), "The name of the song file has a zero byte in it.");
}

} // namespace
