// SPDX-License-Identifier: MIT
#include "jobs/Runner.h"

#include "store/sqlite/Store.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/Waiting.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

using namespace std::chrono_literals;
using jobs::Runner;
using tests::comesTrue;

/** A runner without songs, which is told how the picture of what is playing is shown. */
class RunnerCoverTest : public testing::Test {
protected:
    using Show = std::function<bool(store::CoverStore&, const std::atomic<bool>&)>;

    jobs::RunnerSetup setup(Show show) {
        return {.lockFile = folder_.path() / "jobs.lock",
                .tagger = "/nonexistent",
                .openStore = [this] { return std::make_unique<store::SqliteStore>(folder_.path()); },
                .settings = [](store::CoverStore&) { return jobs::Settings{}; },
                .showCurrentCover = std::move(show)};
    }

    tests::TemporaryFolder folder_;
    std::atomic<int> shown_ = 0;
};

TEST_F(RunnerCoverTest, ShowsTheCoverOnlyWhenItIsAskedTo) {
    Runner runner(setup([this](auto&, auto&) { return ++shown_ > 0; }));
    runner.wake();
    runner.showCurrentCover();
    ASSERT_TRUE(comesTrue([&] { return shown_ == 1; }));
    runner.wake();
    runner.showCurrentCover();
    ASSERT_TRUE(comesTrue([&] { return shown_ == 2; }));
}

TEST_F(RunnerCoverTest, ShowsTheLatestForAllThatAskMeanwhile) {
    std::atomic<bool> goOn = false;
    Runner runner(setup([&](auto&, auto&) {
        ++shown_;
        return comesTrue([&] { return goOn.load(); });
    }));
    runner.showCurrentCover();
    ASSERT_TRUE(comesTrue([&] { return shown_ == 1; }));
    for (int round = 0; round < 10; ++round)
        runner.showCurrentCover();
    goOn = true;
    ASSERT_TRUE(comesTrue([&] { return shown_ == 2; }));
    // One of the ten would be shown again before the job that is queued only now.
    store::SqliteStore store(folder_.path());
    const int entry = store.registerEntry({.artist = "a", .title = "t"}).id;
    (void)store.queueDeleteJob(entry);
    runner.wake();
    ASSERT_TRUE(comesTrue([&] { return store.jobs(entry).at(0).state == store::JobState::Done; }));
    EXPECT_EQ(shown_, 2);
}

TEST_F(RunnerCoverTest, DoesTheJobsFirst) {
    store::SqliteStore store(folder_.path());
    const int entry = store.registerEntry({.artist = "a", .title = "t"}).id;
    (void)store.queueDeleteJob(entry);
    std::atomic<bool> jobDone = false;
    Runner runner(setup([&](store::CoverStore& opened, auto&) {
        jobDone = opened.jobs(entry).at(0).state == store::JobState::Done;
        return ++shown_ > 0;
    }));
    runner.showCurrentCover();
    ASSERT_TRUE(comesTrue([&] { return shown_ == 1; }));
    EXPECT_TRUE(jobDone);
}

TEST_F(RunnerCoverTest, TellsWhoeverWaitsThatItIsToStop) {
    std::atomic<bool> stopped = false;
    {
        Runner runner(setup([&](auto&, const std::atomic<bool>& stopping) {
            ++shown_;
            stopped = comesTrue([&] { return stopping.load(); });
            return false;
        }));
        runner.showCurrentCover();
        ASSERT_TRUE(comesTrue([&] { return shown_ == 1; }));
    }
    EXPECT_TRUE(stopped);
}

/** Shows nothing, and how often it is tried. */
jobs::RunnerSetup failing(jobs::RunnerSetup setup, std::atomic<int>& tried, std::chrono::milliseconds pause) {
    setup.showCurrentCover = [&tried](auto&, auto&) { return ++tried < 0; };
    setup.coverPause = pause;
    return setup;
}

TEST_F(RunnerCoverTest, IsLeftAloneForAWhileAfterAFailureButNotTheJobs) {
    constexpr int rounds = 10;
    std::atomic<int> opened = 0;
    jobs::RunnerSetup counting = failing(setup({}), shown_, 1h);
    counting.openStore = [&opened, open = counting.openStore] {
        ++opened;
        return open();
    };
    Runner runner(counting);
    runner.showCurrentCover();
    ASSERT_TRUE(comesTrue([&] { return shown_ == 1; }));
    store::SqliteStore store(folder_.path());
    for (int round = 0; round < rounds; ++round) {
        runner.showCurrentCover();
        const int entry = store.registerEntry({.artist = "a", .title = std::to_string(round)}).id;
        (void)store.queueDeleteJob(entry);
        runner.wake();
        ASSERT_TRUE(comesTrue([&] { return store.jobs(entry).at(0).state == store::JobState::Done; }));
    }
    EXPECT_EQ(shown_, 1);
    // At the start, for the first cover, for the second to find that it has to wait, and for the jobs.
    EXPECT_LE(opened, 3 + rounds);
}

TEST_F(RunnerCoverTest, TriesAgainOnceTheWhileIsOver) {
    std::atomic<bool> asked = false;
    jobs::RunnerSetup failingOnce = setup([&](auto&, auto&) {
        const bool first = ++shown_ == 1;
        return !first || !comesTrue([&] { return asked.load(); });
    });
    failingOnce.coverPause = 50ms;
    Runner runner(failingOnce);
    runner.showCurrentCover();
    ASSERT_TRUE(comesTrue([&] { return shown_ == 1; }));
    runner.showCurrentCover();
    asked = true;
    ASSERT_TRUE(comesTrue([&] { return shown_ == 2; }));
}

} // namespace
