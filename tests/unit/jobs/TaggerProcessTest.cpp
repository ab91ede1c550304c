// SPDX-License-Identifier: MIT
#include "jobs/TaggerProcess.h"

#include "tests/unit/Waiting.h"
#include "tests/unit/jobs/Descriptors.h"
#include "tests/unit/jobs/MakeProgram.h"
#include "tests/unit/tags/OddSongs.h"
#include "tests/unit/tags/Programs.h"
#include "tests/unit/tags/SongTest.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <csignal>
#include <string>

namespace {

namespace fs = std::filesystem;
using jobs::TaggerProcess;
using tests::coverOf;
using tests::fileBytes;
using tests::jpegOf;
using tests::makeProgram;
using tests::makeSong;
using Kind = TaggerProcess::Result::Kind;

class TaggerProcessTest : public tests::SongTest {
protected:
    TaggerProcessTest() { tests::writeFile(folder() / "picture", jpegOf(64, 1)); }

    [[nodiscard]] TaggerProcess::Order orderFor(const fs::path& song) const {
        return {.song = song, .temporaryFile = folder() / ".temporary", .picture = picture_};
    }

    [[nodiscard]] TaggerProcess::Result run(const fs::path& program,
                                            const TaggerProcess::Order& order) const {
        TaggerProcess process(program, order, lock_);
        EXPECT_TRUE(process.wait(event_.get()));
        return process.result();
    }

    [[nodiscard]] TaggerProcess::Result run(const fs::path& song) const {
        return run(SLEEVERY_TAGGER, orderFor(song));
    }

    /** What comes of a program of these lines. */
    [[nodiscard]] TaggerProcess::Result runLines(const std::string& lines) const {
        return run(makeProgram(folder() / "program", lines), orderFor(folder() / "song"));
    }

    /** The song makes TagLib go round in circles until there is no more memory. */
    void expectRefusedAndUntouched(const fs::path& song) const {
        const std::string before = fileBytes(song);
        testing::internal::CaptureStderr(); // a sanitizer reports that
        const TaggerProcess::Result result = run(song);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(result.kind, Kind::Failed);
        EXPECT_TRUE(result.reason.starts_with("The ") && result.reason.ends_with(".")) << result.reason;
        EXPECT_TRUE(fileBytes(song) == before);
    }

    util::FileDescriptor picture_ = tests::openFile(folder() / "picture", O_RDWR | O_CREAT);
    util::FileDescriptor lock_ = tests::openFile(folder() / "lock", O_RDWR | O_CREAT);
    util::FileDescriptor event_{::eventfd(0, EFD_CLOEXEC)};
};

TEST_F(TaggerProcessTest, DoesWhatItIsToldTo) {
    const fs::path song = makeSong("mp3", folder());
    EXPECT_EQ(run(song).kind, Kind::Done);
    EXPECT_TRUE(coverOf(song) == jpegOf(64, 1));

    TaggerProcess::Order order = orderFor(song);
    tests::writeFile(folder() / "picture", jpegOf(128, 2));
    order.replace = false;
    EXPECT_EQ(run(SLEEVERY_TAGGER, order).kind, Kind::Done);
    EXPECT_TRUE(coverOf(song) == jpegOf(64, 1));

    order.replace = true;
    order.maxSidePixels = 100;
    EXPECT_EQ(run(SLEEVERY_TAGGER, order).kind, Kind::Done);
    const std::string cover = coverOf(song);
    EXPECT_FALSE(cover == jpegOf(64, 1) || cover == jpegOf(128, 2));
}

TEST_F(TaggerProcessTest, SaysWhyItFailed) {
    const fs::path song = tests::newFile(folder() / "empty.mp3");
    const TaggerProcess::Result result = run(song);
    EXPECT_EQ(result.kind, Kind::Failed);
    EXPECT_EQ(result.reason, "The song file is empty.");
}

TEST_F(TaggerProcessTest, SaysThatItMakesSenseToTryAgain) {
    const fs::path song = makeSong("mp3", folder());
    const util::FileDescriptor writer = tests::openFile(song, O_WRONLY);
    const TaggerProcess::Result result = run(song);
    EXPECT_EQ(result.kind, Kind::Later);
    EXPECT_EQ(result.reason, "Another program is writing into the song file.");
}

TEST_F(TaggerProcessTest, ACopyThatGetsTooLongIsAFailure) {
    const fs::path song = makeSong("mp3", folder());
    const tests::ShortFiles limit(fs::file_size(song));
    const TaggerProcess::Result result = run(song);
    EXPECT_EQ(result.kind, Kind::Failed);
    EXPECT_EQ(result.reason, "The copy of the song file can't be written: File too large.");
}

TEST_F(TaggerProcessTest, AProgramThatIsNotThereIsAFailure) {
    try {
        const TaggerProcess process(folder() / "nowhere", orderFor("song"), lock_);
        FAIL() << "nothing was said";
    } catch (const util::Exception& e) {
        EXPECT_STREQ(e.what(), "The program that writes tags can't be started: No such file or directory.");
    }
}

TEST_F(TaggerProcessTest, ASignalOfItsOwnIsAFailureAndOneFromOutsideIsNot) {
    for (const char* name : {"SEGV", "ABRT", "BUS", "XCPU"}) {
        const TaggerProcess::Result result = runLines(std::string("kill -") + name + " $$");
        EXPECT_EQ(result.kind, Kind::Failed) << name;
        EXPECT_TRUE(result.reason.starts_with("The program that writes tags could not cope with the song"));
    }
    for (const char* name : {"KILL", "TERM", "INT", "HUP", "QUIT"}) {
        const TaggerProcess::Result result = runLines(std::string("kill -") + name + " $$");
        EXPECT_EQ(result.kind, Kind::Later) << name;
        EXPECT_FALSE(result.reason.empty());
    }
}

TEST_F(TaggerProcessTest, ACodeThatNobodyKnowsIsAFailure) {
    const TaggerProcess::Result result = runLines("exit 3");
    EXPECT_EQ(result.kind, Kind::Failed);
    EXPECT_EQ(result.reason, "The program that writes tags ended with code 3.");
}

TEST_F(TaggerProcessTest, ALongReasonIsCut) {
    const TaggerProcess::Result result = runLines("head -c 100000 /dev/zero | tr '\\0' x; exit 1");
    EXPECT_EQ(result.kind, Kind::Failed);
    EXPECT_EQ(result.reason, std::string(1000, 'x'));
}

TEST_F(TaggerProcessTest, WaitingEndsWithTheEventAsWell) {
    TaggerProcess process(makeProgram(folder() / "program", "exec sleep 1000"), orderFor("song"), lock_);
    ::eventfd_write(event_.get(), 1);
    EXPECT_FALSE(process.wait(event_.get()));
}

TEST_F(TaggerProcessTest, TheProcessEndsWithTheObject) {
    const fs::path told = folder() / "told";
    const fs::path program = makeProgram(folder() / "program", "echo $$ > \"$1\"; exec sleep 1000");
    std::string number;
    {
        const TaggerProcess process(program, orderFor(told), lock_);
        EXPECT_TRUE(tests::comesTrue([&] {
            number = fs::exists(told) ? fileBytes(told) : "";
            return number.ends_with('\n');
        }));
    }
    EXPECT_NE(::kill(std::stoi(number), 0), 0);
    EXPECT_EQ(errno, ESRCH);
}

TEST_F(TaggerProcessTest, EndsWhenItsRunnerIsNotThereAnyMore) {
    const fs::path song = makeSong("mp3", folder());
    const auto runFor = [&](pid_t runner) {
        tests::run({"/bin/sh", "-c", "exec \"$0\" \"$@\" 3< \"$(dirname \"$1\")/picture\"", SLEEVERY_TAGGER,
                    song, folder() / ".temporary", "1200", "1", std::to_string(runner)});
    };
    EXPECT_THROW(runFor(1), std::runtime_error);
    EXPECT_EQ(coverOf(song), "");
    runFor(::getpid());
    EXPECT_TRUE(coverOf(song) == jpegOf(64, 1));
}

/** `ls` shows the folder that is to be the song, its own descriptors, with that of the folder itself. */
TEST_F(TaggerProcessTest, TheProcessGetsNoOtherDescriptors) {
    const util::FileDescriptor webServers(::open("/dev/null", O_RDONLY)); // NOLINT(android-cloexec-open)
    testing::internal::CaptureStderr();                                   // the other words are no files
    const TaggerProcess::Result result = run("/bin/ls", orderFor("/proc/self/fd"));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(result.reason, "/proc/self/fd:\n0\n1\n2\n3\n4\n5\n");
}

/** `grep` looks for the song in the temporary file. */
TEST_F(TaggerProcessTest, TheProcessHasNoSignalBlocked) {
    sigset_t all{};
    sigset_t before{};
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    TaggerProcess::Order order = orderFor("SigBlk");
    order.temporaryFile = "/proc/self/status";
    testing::internal::CaptureStderr();
    const TaggerProcess::Result result = run("/bin/grep", order);
    testing::internal::GetCapturedStderr();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(result.reason, "/proc/self/status:SigBlk:\t0000000000000000\n");
}

TEST_F(TaggerProcessTest, Mp4OfAThousandTimesThousandLevelsIsRefused) {
    const fs::path song = tests::bareMp4(folder());
    constexpr std::size_t levels = 1'000'000;
    std::string nested;
    for (std::size_t left = levels; left > 0; --left)
        nested += tags::bigEndian(left * 8, 4) + "trak";
    tests::appendToMovie(song, nested);
    expectRefusedAndUntouched(song);
}

TEST_F(TaggerProcessTest, Mp3WithChaptersInChaptersIsRefused) {
    const fs::path song = makeSong("mp3", folder());
    constexpr std::size_t levels = 20'000;
    constexpr std::size_t head = 10 + 17; // of a frame, and of a chapter without a name
    std::string nested;
    for (std::size_t left = levels; left > 0; --left)
        nested += "CHAP" + tags::bigEndian(left * head - 10, 4) + std::string(2 + 17, '\0');
    tests::writeFile(song, tests::id3v2(3, nested) + fileBytes(song));
    expectRefusedAndUntouched(song);
}

} // namespace
