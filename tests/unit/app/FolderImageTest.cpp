// SPDX-License-Identifier: MIT
#include "tags/FolderImage.h"
#include "app/CoverCache.h"
#include "image/ImageHeader.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "util/Exception.h"
#include "util/File.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    return tests::textOf(util::readFile(path.c_str(), 100'000'000).bytes());
}

std::string fixture(const std::string& name) {
    return contentOf(fs::path(SLEEVERY_SOURCE_DIR "/tests/fixtures/images") / name);
}

class FolderImage : public testing::Test {
protected:
    FolderImage() {
        ::setenv("STATE_DIRECTORY", (folder_.path() / "state").c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        cache_.CheckDatabase();
        fs::create_directories(album_);
        write(album_ / "one.flac", "music");
        cache_.StoreParameter("musicFolder", music_.string());
        song_.setFilename((album_ / "one.flac").string());
        attach(fixture("baseline.jpg"));
    }

    static void write(const fs::path& path, const std::string& text) { std::ofstream(path) << text; }

    void attach(const std::string& bytes) {
        util::Image image;
        EXPECT_TRUE(image.set(bytes.data(), static_cast<unsigned int>(bytes.size())));
        song_.setImage(image);
    }

    /** The line with which writing is refused. */
    std::string refusal(bool replace = false) {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(song_.WriteFolderJpeg(replace));
        std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        return said;
    }

    [[nodiscard]] fs::path image() const { return album_ / "folder.jpg"; }

    tests::TemporaryFolder folder_;
    fs::path music_ = folder_.path() / "music";
    fs::path album_ = music_ / "Paper Lanterns";
    CoverCache cache_;
    SongInfo song_{"Lowbeam", "Quiet Harbour", "Paper Lanterns"};
};

TEST_F(FolderImage, IsNamedBesideTheSong) {
    EXPECT_EQ(song_.getFolderJpegName(), image().string());
    song_.setFilename("");
    EXPECT_EQ(song_.getFolderJpegName(), "");
    song_.setFilename("one.flac");
    EXPECT_EQ(song_.getFolderJpegName(), "folder.jpg");
}

TEST_F(FolderImage, IsTheReceivedFileWhereThatIsFit) {
    EXPECT_FALSE(song_.HasFolderJpeg());
    EXPECT_TRUE(song_.WriteFolderJpeg(false));
    EXPECT_TRUE(song_.HasFolderJpeg());
    EXPECT_EQ(contentOf(image()), fixture("baseline.jpg"));
}

TEST_F(FolderImage, IsAnUprightBaselineJpegWhateverTheReceivedFileIs) {
    for (const char* name : {"progressive.jpg", "cmyk.jpg", "orientation-6.jpg", "rgba.png", "palette.png",
                             "lossy.webp", "still.gif"}) {
        attach(fixture(name));
        ASSERT_TRUE(song_.WriteFolderJpeg(true)) << name;
        const std::string written = contentOf(image());
        const image::ImageHeader header = image::readImageHeader(tests::bytesOf(written), {});
        EXPECT_TRUE(header.baselineJpeg) << name;
        EXPECT_EQ(header.orientation, 1) << name;
        EXPECT_EQ(header.widthPixels, song_.getImage()->width()) << name;
        EXPECT_EQ(header.heightPixels, song_.getImage()->height()) << name;
    }
}

TEST_F(FolderImage, IsNoLargerThan1200Pixels) {
    for (const auto& [width, height, expectedWidth, expectedHeight] : {std::array{1200, 1200, 1200, 1200},
                                                                       {1201, 600, 1200, 599},
                                                                       {300, 2400, 150, 1200},
                                                                       {5000, 1, 1200, 1}}) {
        attach(tests::jpeg(tests::picture(width, height)));
        ASSERT_TRUE(song_.WriteFolderJpeg(true));
        const image::ImageHeader header = image::readImageHeader(tests::bytesOf(contentOf(image())), {});
        EXPECT_EQ(header.widthPixels, expectedWidth);
        EXPECT_EQ(header.heightPixels, expectedHeight);
        EXPECT_EQ(song_.getImage()->width(), width) << "the record keeps what it has";
    }
}

TEST_F(FolderImage, LeavesOneThatIsThereUnlessItIsToBeReplaced) {
    write(image(), "mine");
    EXPECT_NE(refusal().find("There is one already."), std::string::npos);
    EXPECT_EQ(contentOf(image()), "mine");
    EXPECT_TRUE(song_.WriteFolderJpeg(true));
    EXPECT_EQ(contentOf(image()), fixture("baseline.jpg"));
}

TEST_F(FolderImage, KnowsOneInCapitals) {
    write(album_ / "Folder.JPG", "mine");
    EXPECT_TRUE(song_.HasFolderJpeg());
    refusal();
    EXPECT_FALSE(fs::exists(image()));
}

TEST_F(FolderImage, NeedsAnImage) {
    song_.setImage(nullptr, 0);
    EXPECT_NE(refusal().find("There is no image."), std::string::npos);
    EXPECT_FALSE(fs::exists(image()));
}

TEST_F(FolderImage, NeedsAMusicFolder) {
    write(image(), "mine");
    for (const char* value : {"", "relative", "/no/such/folder"}) {
        cache_.StoreParameter("musicFolder", value);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(song_.HasFolderJpeg());
        EXPECT_FALSE(song_.WriteFolderJpeg(true));
        testing::internal::GetCapturedStderr();
    }
    EXPECT_EQ(contentOf(image()), "mine");
}

TEST_F(FolderImage, NeedsASongFileBelowTheMusicFolder) {
    const fs::path outside = folder_.path() / "music2";
    fs::create_directories(outside);
    write(outside / "one.flac", "music");
    fs::create_symlink(outside / "one.flac", album_ / "link.flac");
    fs::create_directory_symlink(outside, music_ / "Linked");
    fs::create_symlink(album_ / "one.flac", outside / "inside.flac");
    for (const fs::path& path : {outside / "one.flac", album_ / "link.flac", music_ / "Linked" / "one.flac",
                                 album_ / ".." / ".." / "music2" / "one.flac", outside / "inside.flac",
                                 album_ / "missing.flac", album_, fs::path()}) {
        song_.setFilename(path.string());
        EXPECT_FALSE(song_.HasFolderJpeg()) << path;
        refusal(true);
    }
    EXPECT_FALSE(fs::exists(outside / "folder.jpg"));
    EXPECT_FALSE(fs::exists(image()));
    EXPECT_FALSE(fs::exists(music_ / "folder.jpg"));
}

TEST_F(FolderImage, FollowsLinksThatStayBelowTheMusicFolder) {
    fs::create_directory_symlink(music_, folder_.path() / "share");
    cache_.StoreParameter("musicFolder", (folder_.path() / "share").string());
    EXPECT_TRUE(song_.WriteFolderJpeg(false));
    EXPECT_TRUE(fs::exists(image()));
}

TEST_F(FolderImage, ReplacesALinkAndNotWhereItLeads) {
    write(folder_.path() / "elsewhere", "mine");
    fs::create_symlink(folder_.path() / "elsewhere", image());
    EXPECT_TRUE(song_.WriteFolderJpeg(true));
    EXPECT_EQ(contentOf(folder_.path() / "elsewhere"), "mine");
    EXPECT_EQ(contentOf(image()), fixture("baseline.jpg"));
}

TEST_F(FolderImage, LeavesNothingBehindWhereItCantBeWritten) {
    fs::create_directories(image() / "full");
    refusal(true);
    EXPECT_EQ(std::distance(fs::directory_iterator(album_), fs::directory_iterator()), 2);
}

class ReadFolderImage : public testing::Test {
protected:
    ReadFolderImage() {
        fs::create_directories(album_);
        write(album_ / "one.flac", "music");
    }

    static void write(const fs::path& path, const std::string& text) { std::ofstream(path) << text; }

    std::string read(const fs::path& song) {
        return tests::textOf(tags::readFolderImage(song, music_, 12).bytes());
    }
    std::string read() { return read(album_ / "one.flac"); }

    tests::TemporaryFolder folder_;
    fs::path music_ = folder_.path() / "music";
    fs::path album_ = music_ / "Paper Lanterns";
};

TEST_F(ReadFolderImage, IsEmptyWhereThereIsNone) {
    for (const char* name :
         {"back.jpg", "folder.gif", "folder.jpg.bak", "myfolder.jpg", "folder", "cover.webp"})
        write(album_ / name, "other");
    write(music_ / "folder.jpg", "above");
    EXPECT_EQ(read(), "");
}

TEST_F(ReadFolderImage, TakesTheMostUsualNameHoweverItIsCapitalised) {
    // Each of them stands before all that are there already.
    for (const char* name : {"Front.png", "folder.PNG", "cover.png", "front.jpeg", "Cover.jpeg",
                             "folder.jpeg", "FRONT.JPG", "cover.jpg", "Folder.jpg"}) {
        write(album_ / name, name);
        EXPECT_EQ(read(), name);
    }
}

TEST_F(ReadFolderImage, IsBesideTheSong) {
    write(album_ / "folder.jpg", "here");
    EXPECT_EQ(read("Paper Lanterns/one.flac"), "here") << "a relative name is below the music folder";
    write(music_ / "folder.jpg", "above");
    write(music_ / "two.flac", "music");
    EXPECT_EQ(read("two.flac"), "above");
}

TEST_F(ReadFolderImage, IsOfALimitedSize) {
    write(album_ / "folder.jpg", "0123456789AB");
    EXPECT_EQ(read(), "0123456789AB");
    write(album_ / "folder.jpg", "0123456789ABC");
    EXPECT_THROW(read(), util::Exception);
}

TEST_F(ReadFolderImage, StaysBelowTheMusicFolder) {
    const fs::path outside = folder_.path() / "secret.jpg";
    write(outside, "secret");
    write(folder_.path() / "one.flac", "music");
    write(folder_.path() / "folder.jpg", "secret");
    fs::create_symlink(outside, album_ / "folder.jpg");
    EXPECT_THROW(read(), util::Exception) << "a link leads elsewhere";
    EXPECT_THROW(read(folder_.path() / "one.flac"), util::Exception);
    EXPECT_THROW(read("../one.flac"), util::Exception);
    EXPECT_THROW(read("missing.flac"), util::Exception);
    EXPECT_THROW((void)tags::readFolderImage(album_ / "one.flac", "", 10), util::Exception);
}

TEST_F(ReadFolderImage, IsAFile) {
    fs::create_directory(album_ / "folder.jpg");
    EXPECT_EQ(read(), "");
    write(album_ / "cover.jpg", "cover");
    EXPECT_EQ(read(), "cover");
}

} // namespace
