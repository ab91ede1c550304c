// SPDX-License-Identifier: MIT
#include "jobs/Runner.h"

#include "store/sqlite/Store.h"
#include "tests/unit/Waiting.h"
#include "tests/unit/jobs/Descriptors.h"
#include "tests/unit/jobs/MakeProgram.h"
#include "tests/unit/tags/SongTest.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using jobs::Runner;
using store::Job;
using store::JobState;
using tests::bytesOf;
using tests::comesTrue;
using tests::coverOf;
using tests::jpegOf;
using tests::makeProgram;

/** A program that works until there is a file "go", and notes in "log" when it begins and ends. */
constexpr const char* slowProgram = R"(
folder=$(dirname "$1")
echo begin >> "$folder/log"
: > "$2"
while [ ! -e "$folder/go" ]; do sleep 0.01; done
rm "$2"
echo end >> "$folder/log")";

class RunnerTest : public tests::SongTest {
protected:
    RunnerTest() {
        fs::create_directories(state_);
        fs::create_directories(music_);
        setup_ = {.lockFile = state_ / "jobs.lock",
                  .tagger = SLEEVERY_TAGGER,
                  .openStore = [this] { return std::make_unique<store::SqliteStore>(state_); },
                  .settings =
                      [this](store::CoverStore&) {
                          return jobs::Settings{.musicFolder = music_, .retryPause = retryPause_};
                      }};
    }

    store::CoverStore& store() {
        if (!store_) store_ = std::make_unique<store::SqliteStore>(state_);
        return *store_;
    }

    /** An entry with a cover. */
    int entry(const std::string& title = "Quiet Harbour") {
        const std::string cover = jpegOf(64, 1);
        return store().storeImage({.artist = "Lowbeam", .title = title},
                                  {.bytes = bytesOf(cover), .mimeType = "image/jpeg"},
                                  store::IfPresent::Replace);
    }

    fs::path song(const std::string& name = "song.flac") {
        static const std::string bytes = tests::fileBytes(tests::makeSong("flac", folder()));
        tests::writeFile(music_ / name, bytes);
        return music_ / name;
    }

    Job job(int entryId, int id) {
        const auto all = store().jobs(entryId);
        const auto found = std::ranges::find(all, id, &Job::id);
        return found == all.end() ? Job{} : *found;
    }

    void expectState(int entryId, int id, JobState state) {
        EXPECT_TRUE(comesTrue([&] { return job(entryId, id).state == state; }))
            << "it is in state " << static_cast<int>(job(entryId, id).state) << ' '
            << job(entryId, id).reason;
    }

    /** Whether nothing is left but the songs. */
    [[nodiscard]] bool isClean() const {
        return std::ranges::none_of(fs::directory_iterator(music_), [](const fs::directory_entry& entry) {
            return entry.path().filename().string().starts_with('.');
        });
    }

    /** The tagger is a program of these lines, which can do what it likes. */
    void setProgram(const std::string& lines) { setup_.tagger = makeProgram(folder() / "program", lines); }

    [[nodiscard]] std::string log() const {
        return fs::exists(music_ / "log") ? tests::fileBytes(music_ / "log") : std::string();
    }

    fs::path top_ = fs::canonical(folder());
    fs::path state_ = top_ / "state";
    fs::path music_ = top_ / "music";
    std::chrono::seconds retryPause_{0};
    jobs::RunnerSetup setup_;

private:
    std::unique_ptr<store::SqliteStore> store_;
};

/** Failed jobs are told on standard error, which is not for whoever runs the tests. */
class Quiet {
public:
    Quiet() { testing::internal::CaptureStderr(); }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet() {
        if (!taken_) testing::internal::GetCapturedStderr();
    }

    std::string said() {
        taken_ = true;
        return testing::internal::GetCapturedStderr();
    }

private:
    bool taken_ = false;
};

TEST_F(RunnerTest, BeginsWithWhatIsInTheQueue) {
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true);
    const Runner runner(setup_);
    expectState(id, tag, JobState::Done);
    EXPECT_TRUE(coverOf(music_ / "song.flac") == jpegOf(64, 1));
    EXPECT_TRUE(isClean());
    EXPECT_EQ(job(id, tag).temporaryFile, "");
}

TEST_F(RunnerTest, CarriesOutWhatComesLaterWhenItIsWoken) {
    Runner runner(setup_);
    const int id = entry();
    for (const char* name : {"one.flac", "two.flac"}) {
        song(name);
        const int tag = store().queueTagJob(id, name, true); // below the music folder
        runner.wake();
        expectState(id, tag, JobState::Done);
        EXPECT_FALSE(coverOf(music_ / name).empty());
    }
}

TEST_F(RunnerTest, TakesTheSettingsOfTheJob) {
    setup_.settings = [this](store::CoverStore&) {
        return jobs::Settings{.musicFolder = music_, .maxPictureSidePixels = 32};
    };
    const int id = entry();
    store().queueTagJob(id, song().native(), true);
    const int kept = store().queueTagJob(id, song().native(), false);
    const Runner runner(setup_);
    expectState(id, kept, JobState::Done);
    const std::string cover = coverOf(music_ / "song.flac");
    EXPECT_FALSE(cover.empty() || cover == jpegOf(64, 1));
}

TEST_F(RunnerTest, SaysWhyAJobFailed) {
    const int id = entry();
    const fs::path outside = top_ / "outside.flac";
    fs::rename(song(), outside);
    const int missing = store().queueTagJob(id, "missing.flac", true);
    const int elsewhere = store().queueTagJob(id, outside.native(), true);
    const int coverless = store().queueTagJob(4711, song().native(), true);
    tests::newFile(music_ / "empty.flac");
    const int empty = store().queueTagJob(id, "empty.flac", true);
    Quiet quiet;
    {
        const Runner runner(setup_);
        expectState(id, empty, JobState::Failed);
    }
    EXPECT_EQ(job(id, missing).reason, "The song file is not there.");
    EXPECT_EQ(job(id, elsewhere).reason,
              "The song file is outside the folder that the parameter musicFolder names.");
    EXPECT_EQ(job(4711, coverless).reason, "There is no cover with this cache id.");
    EXPECT_EQ(job(id, empty).reason, "The song file is empty.");
    const std::string said = quiet.said();
    EXPECT_EQ(std::ranges::count(said, '\n'), 4) << said;
    EXPECT_EQ(coverOf(outside), "");
    EXPECT_TRUE(isClean());
}

TEST_F(RunnerTest, WithoutAMusicFolderNothingIsTouched) {
    setup_.settings = [](store::CoverStore&) { return jobs::Settings{}; };
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true);
    const Quiet quiet;
    const Runner runner(setup_);
    expectState(id, tag, JobState::Failed);
    EXPECT_EQ(job(id, tag).reason, "The parameter musicFolder is not set.");
}

TEST_F(RunnerTest, WhatIsBusyIsTriedAgainAndTheOthersNeedNotWait) {
    retryPause_ = 1s;
    const int id = entry();
    std::optional<util::FileDescriptor> writer = tests::openFile(song("busy.flac"), O_WRONLY);
    const int busy = store().queueTagJob(id, "busy.flac", true);
    song("other.flac");
    const int other = store().queueTagJob(id, "other.flac", true);
    const Runner runner(setup_);
    expectState(id, other, JobState::Done);
    const Job waiting = job(id, busy);
    EXPECT_EQ(waiting.state, JobState::Queued);
    EXPECT_GT(waiting.attempts, 0);
    EXPECT_EQ(waiting.reason, "Another program is writing into the song file.");
    EXPECT_EQ(waiting.temporaryFile, "");
    writer.reset();
    expectState(id, busy, JobState::Done);
    EXPECT_EQ(job(id, busy).reason, "");
}

TEST_F(RunnerTest, EachPauseIsTwiceAsLongAndADayAtMost) {
    const int id = entry();
    setProgram("exit 75");
    const auto waits = [&](std::chrono::seconds pause, int attempts) {
        retryPause_ = pause;
        const int tag = store().queueTagJob(id, song().native(), true);
        for (int i = 0; i < attempts; ++i)
            store().postponeJob(tag, "busy", store::Clock::now());
        const Runner runner(setup_);
        EXPECT_TRUE(comesTrue([&] { return job(id, tag).attempts == attempts + 1; }));
        const auto due = store().nextJobDue();
        store().finishJob(tag, "");
        EXPECT_TRUE(due);
        return std::chrono::round<std::chrono::minutes>(due.value_or(store::Clock::now()) -
                                                        store::Clock::now());
    };
    EXPECT_EQ(waits(1h, 0), 1h);
    EXPECT_EQ(waits(1h, 1), 2h);
    EXPECT_EQ(waits(1h, 3), 8h);
    EXPECT_EQ(waits(20h, 1), 24h);
}

TEST_F(RunnerTest, GivesUpAfterFiveAttempts) {
    const int id = entry();
    setProgram("echo x >> \"$(dirname \"$1\")/log\"; echo Busy.; exit 75");
    const int tag = store().queueTagJob(id, song().native(), true);
    const Quiet quiet;
    const Runner runner(setup_);
    expectState(id, tag, JobState::Failed);
    EXPECT_EQ(job(id, tag).reason, "Busy.\n");
    EXPECT_EQ(log(), "x\nx\nx\nx\nx\n");
}

TEST_F(RunnerTest, ATaggerThatIsNotThereIsAFailureInTheEnd) {
    const int id = entry();
    setup_.tagger = top_ / "nowhere";
    const int tag = store().queueTagJob(id, song().native(), true);
    const Quiet quiet;
    const Runner runner(setup_);
    expectState(id, tag, JobState::Failed);
    EXPECT_EQ(job(id, tag).attempts, 4);
}

TEST_F(RunnerTest, ACoverGoesAfterItHasArrived) {
    const int id = entry();
    song("one.flac");
    song("two.flac");
    store().queueTagJob(id, "one.flac", true);
    const int remove = store().queueDeleteJob(id);
    store().queueTagJob(id, "two.flac", true);
    const Runner runner(setup_);
    expectState(id, remove, JobState::Done);
    EXPECT_FALSE(coverOf(music_ / "one.flac").empty());
    EXPECT_FALSE(coverOf(music_ / "two.flac").empty());
    EXPECT_FALSE(store().cover(id));
    EXPECT_EQ(store().earlierImages(id).size(), 1U);
}

TEST_F(RunnerTest, ACoverThatDidNotArriveStaysUntilItHas) {
    const int id = entry();
    const int failed = store().queueTagJob(id, "late.flac", true);
    const int kept = store().queueDeleteJob(id);
    const Quiet quiet;
    Runner runner(setup_);
    expectState(id, kept, JobState::Failed);
    EXPECT_EQ(job(id, failed).state, JobState::Failed);
    EXPECT_EQ(job(id, kept).reason,
              "The cover is kept, because it could not be written into every song file.");
    EXPECT_TRUE(store().cover(id));

    song("late.flac");
    store().queueTagJob(id, "late.flac", true);
    const int gone = store().queueDeleteJob(id);
    runner.wake();
    expectState(id, gone, JobState::Done);
    EXPECT_FALSE(store().cover(id));
}

TEST_F(RunnerTest, ACoverThatCameInMeanwhileStays) {
    const int id = entry();
    const int remove = store().queueDeleteJob(id);
    const std::string next = jpegOf(64, 2);
    store().storeImage({.artist = "Lowbeam", .title = "Quiet Harbour"},
                       {.bytes = bytesOf(next), .mimeType = "image/jpeg"}, store::IfPresent::Replace);
    const Runner runner(setup_);
    expectState(id, remove, JobState::Done);
    EXPECT_TRUE(store().cover(id));
}

TEST_F(RunnerTest, TakesUpWhatADeadProcessLeft) {
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true);
    const fs::path leftBehind = tests::newFile(music_ / ".sleevery-0123456789abcdef");
    store().startJob(tag, leftBehind.native());
    const Runner runner(setup_);
    expectState(id, tag, JobState::Done);
    EXPECT_TRUE(isClean());
    EXPECT_FALSE(coverOf(music_ / "song.flac").empty());
    EXPECT_EQ(job(id, tag).attempts, 0);
}

TEST_F(RunnerTest, GivesTheJobBackWhenItEnds) {
    setProgram(slowProgram);
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true);
    std::optional<Runner> runner(setup_);
    EXPECT_TRUE(comesTrue([&] { return !isClean(); }));
    EXPECT_EQ(job(id, tag).state, JobState::Running);
    EXPECT_TRUE(fs::exists(job(id, tag).temporaryFile));
    const auto begin = std::chrono::steady_clock::now();
    runner.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_EQ(job(id, tag).state, JobState::Queued);
    EXPECT_EQ(job(id, tag).attempts, 0);
    EXPECT_TRUE(isClean());
    EXPECT_EQ(log(), "begin\n");
}

TEST_F(RunnerTest, EndsAtOnceWhenThereIsNothingToDo) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        const Runner runner(setup_);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
}

TEST_F(RunnerTest, BeingWokenAtWorkDisturbsNothingAndIsNotForgotten) {
    setProgram(slowProgram);
    const int id = entry();
    const int first = store().queueTagJob(id, song().native(), true);
    Runner runner(setup_);
    EXPECT_TRUE(comesTrue([&] { return log() == "begin\n"; }));
    const int second = store().queueTagJob(id, song("other.flac").native(), true);
    runner.wake();
    EXPECT_EQ(job(id, first).state, JobState::Running);
    tests::newFile(music_ / "go");
    expectState(id, second, JobState::Done);
    EXPECT_EQ(job(id, first).state, JobState::Done);
    EXPECT_EQ(log(), "begin\nend\nbegin\nend\n");
}

TEST_F(RunnerTest, OfTwoOneWorksAtATime) {
    setProgram("working=$(dirname \"$1\")/working\n"
               "mkdir \"$working\" || touch \"$1.overlap\"\nsleep 0.01\nrmdir \"$working\"");
    const int id = entry();
    int last = 0;
    for (int i = 0; i < 20; ++i)
        last = store().queueTagJob(id, song("song" + std::to_string(i)).native(), true);
    {
        const Runner one(setup_);
        const Runner two(setup_);
        expectState(id, last, JobState::Done);
    }
    for (const Job& done : store().jobs(id)) {
        EXPECT_EQ(done.state, JobState::Done);
        EXPECT_FALSE(fs::exists(done.path + ".overlap"));
    }
}

TEST_F(RunnerTest, OneGoesOnWhenTheOthersProcessDiesButNotBeforeItsTaggerHas) {
    setProgram(slowProgram);
    const pid_t other = ::fork();
    if (other == 0) {
        store().queueTagJob(entry(), song().native(), true);
        const Runner runner(setup_);
        ::pause();
    }
    ASSERT_GT(other, 0);
    EXPECT_TRUE(comesTrue([&] { return log() == "begin\n"; }));
    const int id = entry();
    const int tag = store().jobs(id).at(0).id;
    std::optional<Runner> runner(setup_);
    ASSERT_EQ(::kill(other, SIGKILL), 0);
    ASSERT_EQ(::waitpid(other, nullptr, 0), other);
    EXPECT_EQ(job(id, tag).state, JobState::Running);
    tests::newFile(music_ / "go");
    expectState(id, tag, JobState::Done);
    EXPECT_EQ(log(), "begin\nend\nbegin\nend\n");
}

/** A store in which one cover can't be read. */
class DamagedStore : public store::SqliteStore {
public:
    DamagedStore(const fs::path& folder, int damaged) : SqliteStore(folder), damaged_(damaged) {}

    std::optional<store::ImageInfo> cover(int id) override {
        if (id == damaged_) throw util::Exception("The cover store is damaged.");
        return SqliteStore::cover(id);
    }

private:
    int damaged_;
};

TEST_F(RunnerTest, ACoverThatCantBeReadDoesNotStopTheOthers) {
    const int bad = entry("Bad");
    const int good = entry("Good");
    setup_.openStore = [this, bad] { return std::make_unique<DamagedStore>(state_, bad); };
    const int failing = store().queueTagJob(bad, song().native(), true);
    const int working = store().queueTagJob(good, song().native(), true);
    const Quiet quiet;
    const Runner runner(setup_);
    expectState(good, working, JobState::Done);
    expectState(bad, failing, JobState::Failed);
    EXPECT_EQ(job(bad, failing).reason, "The cover store is damaged.");
}

TEST_F(RunnerTest, GoesOnWhenTheStoreWorksAgain) {
    std::atomic<bool> broken = true;
    std::atomic<int> tries = 0;
    setup_.openStore = [&] {
        ++tries;
        if (broken) throw util::Exception("The cover store can't be opened.");
        return std::make_unique<store::SqliteStore>(state_);
    };
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true);
    Quiet quiet;
    std::optional<Runner> runner(setup_);
    EXPECT_TRUE(comesTrue([&] { return tries == 1; }));
    broken = false;
    runner->wake();
    expectState(id, tag, JobState::Done);
    runner.reset();
    EXPECT_EQ(quiet.said(), "sleevery.fcgi: the job queue has to wait: The cover store can't be opened.\n");
}

TEST_F(RunnerTest, WithoutALockFileNothingIsDoneAndSomethingIsSaid) {
    setup_.lockFile = top_ / "later" / "jobs.lock";
    std::atomic<int> tries = 0;
    setup_.openStore = [&] {
        ++tries;
        return std::make_unique<store::SqliteStore>(state_);
    };
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true);
    Quiet quiet;
    std::optional<Runner> runner(setup_);
    EXPECT_TRUE(comesTrue([&] { return tries == 1; }));
    runner->wake();
    EXPECT_TRUE(comesTrue([&] { return tries == 2; })) << "the first one is over";
    EXPECT_EQ(job(id, tag).state, JobState::Queued);
    fs::create_directories(top_ / "later");
    runner->wake();
    expectState(id, tag, JobState::Done);
    runner.reset();
    EXPECT_TRUE(quiet.said().starts_with(
        "sleevery.fcgi: the job queue has to wait: The lock file of the job queue can't be opened.\n"));
}

TEST_F(RunnerTest, AProcessThatWasStartedWithItsChildrenIgnoredGetsResultsAllTheSame) {
    const int id = entry();
    const int tag = store().queueTagJob(id, song().native(), true); // a program makes the song
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    {
        const Runner runner(setup_);
        expectState(id, tag, JobState::Done);
        EXPECT_EQ(job(id, tag).attempts, 0);
    }
    (void)std::signal(SIGCHLD, before);
}

/** A signal to stop is to interrupt the thread that serves requests. */
TEST_F(RunnerTest, ItsThreadTakesNoSignals) {
    sigset_t before{};
    sigset_t after{};
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    std::atomic<bool> asked = false;
    sigset_t runners{};
    setup_.openStore = [&] {
        if (!asked) pthread_sigmask(SIG_SETMASK, nullptr, &runners);
        asked = true;
        return std::make_unique<store::SqliteStore>(state_);
    };
    const Runner runner(setup_);
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_TRUE(comesTrue([&] { return asked.load(); }));
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGALRM}) {
        EXPECT_EQ(sigismember(&runners, signal), 1) << signal;
        EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal)) << signal;
    }
}

} // namespace
