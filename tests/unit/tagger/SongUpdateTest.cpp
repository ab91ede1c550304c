// SPDX-License-Identifier: MIT
#include "tagger/SongUpdate.h"

#include "image/ImageHeader.h"
#include "tags/FittingPicture.h"
#include "tests/unit/jobs/Descriptors.h"
#include "tests/unit/tags/SongTest.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <set>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;
using tagger::TryAgainLater;
using tests::bytesOf;
using tests::coverOf;
using tests::fileBytes;
using tests::jpegOf;
using tests::writeFile;

struct Change {
    std::string cover = jpegOf(64, 1);
    int maxSidePixels = 1200;
    bool replace = true;
};

class SongUpdate : public tests::SongTest {
protected:
    SongUpdate() {
        fs::create_directory(album_);
        song_ = tests::makeSong("flac", album_);
        before_ = fileBytes(song_);
    }

    void write(const Change& change = {}) const {
        tagger::writeCover({.song = song_,
                            .temporaryFile = temporaryFile(),
                            .picture = bytesOf(change.cover),
                            .maxSidePixels = change.maxSidePixels,
                            .replace = change.replace,
                            .fit = tags::fittingPicture});
    }

    /** The reason of a permanent failure. Expects that the folder and the song stay unchanged. */
    [[nodiscard]] std::string refusal(const Change& change = {}) const {
        const auto names = namesInAlbum();
        try {
            write(change);
            ADD_FAILURE() << "it was not refused";
            return {};
        } catch (const TryAgainLater& e) {
            ADD_FAILURE() << "only for now: " << e.what();
            return {};
        } catch (const util::Exception& e) {
            EXPECT_TRUE(fileBytes(song_) == before_);
            EXPECT_EQ(namesInAlbum(), names);
            return e.what();
        }
    }

    /** The reason of a temporary failure. Expects that no other file is left in the folder. */
    [[nodiscard]] std::string delay() const {
        try {
            write();
            ADD_FAILURE() << "it was not refused";
            return {};
        } catch (const TryAgainLater& e) {
            EXPECT_EQ(namesInAlbum(), std::set<std::string>{"flac.flac"});
            return e.what();
        }
    }

    [[nodiscard]] std::set<std::string> namesInAlbum() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(album_))
            names.insert(entry.path().filename());
        return names;
    }

    [[nodiscard]] struct stat status() const {
        struct stat status = {};
        EXPECT_EQ(::stat(song_.c_str(), &status), 0);
        return status;
    }

    [[nodiscard]] fs::path temporaryFile() const {
        return song_.parent_path() / ".sleevery-0123456789abcdef";
    }

    std::string delayBy(int event, std::function<void()> otherProgram) const;

    fs::path album_ = fs::canonical(folder()) / "album";
    fs::path song_;
    std::string before_;
};

TEST_F(SongUpdate, ThePictureArrivesAndNothingElseChanges) {
    write();
    EXPECT_TRUE(coverOf(song_) == jpegOf(64, 1));
    writeFile(folder() / "before", before_);
    EXPECT_NO_THROW(tags::verify(folder() / "before", song_, bytesOf(jpegOf(64, 1))));
    EXPECT_EQ(namesInAlbum(), std::set<std::string>{"flac.flac"});
}

TEST_F(SongUpdate, TheNewFileHasTheOwnerModeAndAttributesOfTheOldOne) {
    ASSERT_EQ(::setxattr(song_.c_str(), "user.rating", "5", 1, 0), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(song_.c_str(), 4711, 4712), 0);
    }
    ASSERT_EQ(::chmod(song_.c_str(), 0664), 0);
    const struct stat old = status();
    write();
    EXPECT_NE(status().st_ino, old.st_ino);
    EXPECT_EQ(status().st_mode, old.st_mode);
    EXPECT_EQ(status().st_uid, old.st_uid);
    EXPECT_EQ(status().st_gid, old.st_gid);
    std::array<char, 2> value{};
    ASSERT_EQ(::getxattr(song_.c_str(), "user.rating", value.data(), value.size()), 1);
    EXPECT_EQ(value[0], '5');
}

TEST_F(SongUpdate, AHardLinksOtherNameKeepsTheOldFile) {
    fs::create_hard_link(song_, folder() / "other");
    write();
    EXPECT_TRUE(fileBytes(folder() / "other") == before_);
    EXPECT_FALSE(coverOf(song_).empty());
}

TEST_F(SongUpdate, AFileThatHasThePictureIsNotTouched) {
    write();
    const struct stat old = status();
    for (const bool replace : {true, false}) {
        write({.replace = replace});
        EXPECT_EQ(status().st_ino, old.st_ino);
        EXPECT_EQ(status().st_mtim.tv_nsec, old.st_mtim.tv_nsec);
        EXPECT_EQ(status().st_ctim.tv_nsec, old.st_ctim.tv_nsec);
    }
}

TEST_F(SongUpdate, ReplacesACoverOnlyWhenAskedTo) {
    write({.cover = jpegOf(64, 1), .replace = false});
    EXPECT_TRUE(coverOf(song_) == jpegOf(64, 1));
    write({.cover = jpegOf(64, 2), .replace = false});
    EXPECT_TRUE(coverOf(song_) == jpegOf(64, 1));
    write({.cover = jpegOf(64, 2), .replace = true});
    EXPECT_TRUE(coverOf(song_) == jpegOf(64, 2));
}

TEST_F(SongUpdate, ALargePictureIsMadeSmaller) {
    write({.cover = tests::jpeg(tests::picture(400, 300)), .maxSidePixels = 200});
    const std::string cover = coverOf(song_);
    const image::ImageHeader header = image::readImageHeader(bytesOf(cover), {});
    EXPECT_EQ(header.widthPixels, 200);
    EXPECT_EQ(header.heightPixels, 150);
}

TEST_F(SongUpdate, AReadOnlyFileIsRefusedToTheAdministratorAsWell) {
    ASSERT_EQ(::chmod(song_.c_str(), 0444), 0);
    EXPECT_EQ(refusal(), "The song file is read-only.");
}

TEST_F(SongUpdate, AFileThatTheUserMayNotWriteIsRefused) {
    fs::permissions(folder(), fs::perms(0755));
    fs::permissions(album_, fs::perms(0755));
    const mode_t othersMay = ::geteuid() == 0 ? 0644 : 0464; // an ordinary user is the owner
    ASSERT_EQ(::chmod(song_.c_str(), othersMay), 0);
    const tests::OrdinaryUser user;
    EXPECT_EQ(refusal(), "The song file is read-only.");
}

TEST_F(SongUpdate, WhatIsNoSongOrNoPictureIsRefused) {
    EXPECT_FALSE(refusal({.cover = "no picture"}).empty());
    before_ = "no song";
    writeFile(song_, before_);
    EXPECT_FALSE(refusal().empty());
}

TEST_F(SongUpdate, ATemporaryFileThatIsThereIsSomebodyElses) {
    writeFile(temporaryFile(), "mine");
    EXPECT_EQ(refusal(), "The copy of the song file can't be written: File exists.");
    EXPECT_EQ(fileBytes(temporaryFile()), "mine");
}

TEST_F(SongUpdate, ACopyThatGetsTooLongIsAFailure) {
    const tests::ShortFiles limit(before_.size() / 2);
    EXPECT_EQ(refusal(), "The copy of the song file can't be written: File too large.");
}

TEST_F(SongUpdate, WithoutSpaceForTheCopyItIsTriedAgain) {
    struct statvfs disk = {};
    ASSERT_EQ(::statvfs(song_.c_str(), &disk), 0);
    fs::resize_file(song_, disk.f_bavail * disk.f_frsize); // sparse: only its copy would take space
    const tests::ShortFiles limit(before_.size() / 2);     // protects the disk if the test fails
    EXPECT_TRUE(delay().starts_with("There is not enough space on the disk of the song file: "));
}

TEST_F(SongUpdate, AFileThatIsOpenForWritingIsTriedAgain) {
    const util::FileDescriptor writer = tests::openFile(song_, O_WRONLY);
    EXPECT_EQ(delay(), "Another program is writing into the song file.");
}

TEST_F(SongUpdate, AFileThatAFileServerHasLentOutIsTriedAgain) {
    const util::FileDescriptor server = tests::openFile(song_, O_RDWR);
    ASSERT_EQ(::fcntl(server.get(), F_SETSIG, SIGURG), 0);
    ASSERT_EQ(::fcntl(server.get(), F_SETLEASE, F_WRLCK), 0);
    EXPECT_EQ(delay(), "Another program has the song file for itself.");
}

/**
 * Acts as another program at an event in a folder, before the code under test continues: the kernel's signal
 * interrupts this thread. Only one object at a time.
 */
class OtherProgram {
public:
    /** @param event such as DN_CREATE */
    OtherProgram(const fs::path& folder, int event, std::function<void()> act)
        : folder_(tests::openFile(folder, O_RDONLY | O_DIRECTORY)) {
        act_ = std::move(act);
        struct sigaction action = {};
        action.sa_handler = [](int /*signal*/) { std::exchange(act_, nullptr)(); };
        ::sigaction(noticeSignal(), &action, nullptr);
        f_owner_ex self{F_OWNER_TID, ::gettid()};
        EXPECT_EQ(::fcntl(folder_.get(), F_SETSIG, noticeSignal()), 0);
        EXPECT_EQ(::fcntl(folder_.get(), F_SETOWN_EX, &self), 0);
        EXPECT_EQ(::fcntl(folder_.get(), F_NOTIFY, event), 0) << "needs a kernel with CONFIG_DNOTIFY";
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    ~OtherProgram() {
        EXPECT_EQ(act_, nullptr) << "it never came to act";
        ::fcntl(folder_.get(), F_NOTIFY, 0);
        static_cast<void>(std::signal(noticeSignal(), SIG_DFL));
    }

private:
    static int noticeSignal() { return SIGRTMIN; }

    static inline std::function<void()> act_;
    util::FileDescriptor folder_;
};

/**
 * Runs `otherProgram` when the copy is created, is written, or gets its attributes, depending on `event`.
 * @return the reason of the temporary failure
 */
std::string SongUpdate::delayBy(int event, std::function<void()> otherProgram) const {
    writeFile(song_, before_);
    const OtherProgram other(album_, event, std::move(otherProgram));
    return delay();
}

TEST_F(SongUpdate, AFileThatIsReplacedMeanwhileIsTheOtherProgramsAndTriedAgain) {
    const fs::path others = fs::canonical(folder()) / "others";
    for (const int event : {DN_CREATE, DN_MODIFY, DN_ATTRIB}) {
        writeFile(others, "other");
        EXPECT_EQ(delayBy(event, [&] { fs::rename(others, song_); }),
                  "The song file was changed by another program meanwhile.");
        EXPECT_EQ(fileBytes(song_), "other");
    }
}

TEST_F(SongUpdate, AFileThatIsChangedMeanwhileIsTriedAgain) {
    EXPECT_EQ(delayBy(DN_CREATE, [&] { ::chmod(song_.c_str(), 0640); }),
              "The song file was changed by another program meanwhile.");
    EXPECT_TRUE(fileBytes(song_) == before_);
}

TEST_F(SongUpdate, AProgramThatWaitsToWriteIntoTheFileHasItsTurnFirst) {
    const auto wantToWrite = [&] {
        const util::FileDescriptor writer(::open(song_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        EXPECT_TRUE(!writer && errno == EWOULDBLOCK);
    };
    EXPECT_EQ(delayBy(DN_CREATE, wantToWrite), "Another program is writing into the song file.");
    EXPECT_TRUE(fileBytes(song_) == before_);
}

TEST_F(SongUpdate, ALinkInThePlaceOfTheFolderLeadsNowhere) {
    fs::rename(album_, folder() / "elsewhere");
    fs::create_directory_symlink(folder() / "elsewhere", album_);
    EXPECT_TRUE(refusal().starts_with("The folder of the song file can't be opened: "));
}

TEST_F(SongUpdate, ALinkInThePlaceOfTheFileLeadsNowhere) {
    fs::rename(song_, folder() / "elsewhere");
    fs::create_symlink(folder() / "elsewhere", song_);
    EXPECT_TRUE(refusal().starts_with("The song file can't be opened: "));
}

} // namespace
