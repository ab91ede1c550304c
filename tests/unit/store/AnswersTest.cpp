// SPDX-License-Identifier: MIT
// What every store has to do for those who ask web services: the tests see the interface only, as those of
// CoverStoreTest.cpp.
#include "store/CoverStore.h"
#include "store/Sha256.h"
#include "store/sqlite/Store.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;
using store::Clock;
using store::CoverStore;
using store::IfPresent;
using store::Pace;
using tests::bytesOf;
using tests::textOf;

using Open = std::unique_ptr<CoverStore> (*)(const std::filesystem::path&);

/** A moment in whole milliseconds, as the store keeps them. */
const Clock::time_point now{std::chrono::milliseconds(1'800'000'000'123)};

class AnswersTest : public testing::TestWithParam<Open> {
protected:
    AnswersTest() : store_(GetParam()(folder_.path())) {}

    std::unique_ptr<CoverStore> another() { return GetParam()(folder_.path()); }

    /** How long after `when` the next turn is. */
    std::optional<Clock::duration> wait(Clock::time_point when, const Pace& pace = {},
                                        std::string_view service = "deezer") {
        const auto turn = store_->reserveTurn(service, pace, when, when + 1h);
        if (!turn) return std::nullopt;
        return *turn - when;
    }

    std::string offer(std::string_view content) {
        return store_->offerImage(
            {.bytes = bytesOf(content), .mimeType = "image/png", .widthPixels = 3, .heightPixels = 2});
    }

    int keep(const std::string& title, std::string_view content) {
        return store_->storeImage({.artist = "Ada", .title = title},
                                  {.bytes = bytesOf(content), .mimeType = "image/jpeg"}, IfPresent::Replace);
    }

    bool has(std::string_view content) { return store_->image(store::sha256(bytesOf(content))).has_value(); }

    tests::TemporaryFolder folder_;
    std::unique_ptr<CoverStore> store_;
};

TEST_P(AnswersTest, KnowsNothingAtFirst) {
    EXPECT_EQ(store_->keptAnswer("x", now), std::nullopt);
    EXPECT_EQ(store_->serviceState("deezer"), store::ServiceState{});
}

TEST_P(AnswersTest, KeepsAnAnswerUntilItExpires) {
    const std::string answer("\0{\"any\": 'bytes'}\xFF\n\0", 20);
    store_->keepAnswer("https://x.example/?q=1", answer, now + 10s);
    EXPECT_EQ(store_->keptAnswer("https://x.example/?q=1", now), answer);
    EXPECT_EQ(store_->keptAnswer("https://x.example/?q=1", now + 9999ms), answer);
    EXPECT_EQ(store_->keptAnswer("https://x.example/?q=1", now + 10s), std::nullopt);
    EXPECT_EQ(store_->keptAnswer("https://x.example/?q=1", now - 24h), answer) << "looking changes nothing";
    EXPECT_EQ(another()->keptAnswer("https://x.example/?q=1", now), answer);
}

TEST_P(AnswersTest, AnEmptyAnswerIsOneToo) {
    store_->keepAnswer("x", {}, now + 1s);
    EXPECT_EQ(store_->keptAnswer("x", now), "");
}

TEST_P(AnswersTest, TellsKeysApartByEveryByte) {
    const std::string withNul("key\0a", 5);
    store_->keepAnswer("key", "1", now + 1s);
    store_->keepAnswer("Key", "2", now + 1s);
    store_->keepAnswer(withNul, "3", now + 1s);
    store_->keepAnswer("", "4", now + 1s);
    EXPECT_EQ(store_->keptAnswer("key", now), "1");
    EXPECT_EQ(store_->keptAnswer("Key", now), "2");
    EXPECT_EQ(store_->keptAnswer(withNul, now), "3");
    EXPECT_EQ(store_->keptAnswer("", now), "4");
    EXPECT_EQ(store_->keptAnswer("ke", now), std::nullopt);
}

TEST_P(AnswersTest, TheLatestAnswerWinsAlsoWhereItExpiresEarlier) {
    store_->keepAnswer("x", "first", now + 10s);
    another()->keepAnswer("x", "second", now + 5s);
    EXPECT_EQ(store_->keptAnswer("x", now), "second");
    EXPECT_EQ(store_->keptAnswer("x", now + 5s), std::nullopt);
    store_->keepAnswer("x", "third", now + 20s);
    EXPECT_EQ(store_->keptAnswer("x", now + 5s), "third");
}

TEST_P(AnswersTest, BoundsTheNumberOfAnswersThoseThatExpireFirstGo) {
    const auto key = [](int number) { return "key " + std::to_string(number); };
    store_->keepAnswer("expired", "x", now - 1h);
    store_->keepAnswer("lasting", "x", now + 24h * 365);
    for (int i = 0; i < CoverStore::maxKeptAnswers + 200; ++i)
        store_->keepAnswer(key(i), "x", now + 1h + std::chrono::seconds(i));
    EXPECT_EQ(store_->keptAnswer("expired", now - 2h), std::nullopt);
    EXPECT_EQ(store_->keptAnswer("lasting", now), "x");
    int kept = 0;
    int firstKept = -1;
    for (int i = 0; i < CoverStore::maxKeptAnswers + 200; ++i) {
        if (!store_->keptAnswer(key(i), now)) continue;
        if (kept++ == 0) firstKept = i;
    }
    EXPECT_GE(kept, CoverStore::maxKeptAnswers - 1);
    EXPECT_LT(kept, CoverStore::maxKeptAnswers + 200);
    EXPECT_EQ(firstKept, CoverStore::maxKeptAnswers + 200 - kept) << "those before it went, none behind it";
}

TEST_P(AnswersTest, BoundsTheSizeOfAllAnswersButKeepsTheOneThatComes) {
    const std::string large(std::size_t{6} << 20U, 'x');
    for (int i = 0; i < 12; ++i)
        store_->keepAnswer(std::to_string(i), large, now + 1h + std::chrono::seconds(i));
    EXPECT_FALSE(store_->keptAnswer("0", now));
    EXPECT_FALSE(store_->keptAnswer("1", now));
    for (int i = 2; i < 12; ++i)
        EXPECT_EQ(store_->keptAnswer(std::to_string(i), now), large) << i;
    store_->keepAnswer("soon gone", large, now + 1s);
    EXPECT_EQ(store_->keptAnswer("soon gone", now), large);
}

TEST_P(AnswersTest, OneTurnEachInterval) {
    EXPECT_EQ(wait(now), 0s);
    EXPECT_EQ(wait(now), 1s);
    EXPECT_EQ(wait(now), 2s);
    EXPECT_EQ(wait(now + 1500ms), 1500ms);
    EXPECT_EQ(wait(now + 4s), 0s);
    EXPECT_EQ(wait(now + 4999ms), 1ms);
    EXPECT_EQ(wait(now + 1h), 0s);
    EXPECT_EQ(wait(now + 1h), 1s) << "a pause saves nothing up where there is no burst";
}

TEST_P(AnswersTest, ABurstMayGoAtOnceAfterAPause) {
    const Pace pace{.interval = 100ms, .burst = 3};
    for (const auto expected : {0ms, 0ms, 0ms, 100ms, 200ms})
        EXPECT_EQ(wait(now, pace), expected);
    EXPECT_EQ(wait(now + 400ms, pace), 0ms) << "one was saved up";
    EXPECT_EQ(wait(now + 400ms, pace), 0ms);
    EXPECT_EQ(wait(now + 400ms, pace), 100ms);
    for (const auto expected : {0ms, 0ms, 0ms, 100ms})
        EXPECT_EQ(wait(now + 1h, pace), expected) << "no more than the burst is saved up";
}

TEST_P(AnswersTest, NoTurnIsEarlyByAFractionOfAMillisecond) {
    const auto fraction = 400us;
    EXPECT_EQ(wait(now + fraction), 0s) << "nor later than it has to be";
    EXPECT_GE(*wait(now + 1s), fraction);
}

TEST_P(AnswersTest, ATurnThatComesTooLateIsNotReserved) {
    EXPECT_EQ(store_->reserveTurn("deezer", {}, now, now), now);
    EXPECT_EQ(store_->reserveTurn("deezer", {}, now, now + 999ms), std::nullopt);
    EXPECT_EQ(store_->reserveTurn("deezer", {}, now, now + 1s), now + 1s) << "the other one did not take it";
    EXPECT_EQ(store_->reserveTurn("deezer", {}, now + 1h, now + 1h - 1ms), std::nullopt);
    EXPECT_EQ(wait(now + 1h), 0s);
}

TEST_P(AnswersTest, EachServiceHasTurnsOfItsOwn) {
    EXPECT_EQ(wait(now, {}, "deezer"), 0s);
    EXPECT_EQ(wait(now, {}, "itunes"), 0s);
    EXPECT_EQ(wait(now, {}, "deezer"), 1s);
}

TEST_P(AnswersTest, AClockThatWasPutBackHoldsUpNoService) {
    const Pace pace{.interval = 2s, .burst = 4};
    for (int i = 0; i < 20; ++i)
        (void)wait(now, pace);
    EXPECT_FALSE(store_->reserveTurn("deezer", pace, now - 3h, now - 3h - 1ms));
    for (const auto expected : {0s, 0s, 0s, 0s, 2s})
        EXPECT_EQ(store_->reserveTurn("deezer", pace, now - 3h, now - 3h + 8s), now - 3h + expected);
}

TEST_P(AnswersTest, TurnsThatArePatientlyWaitedForAreNoMistakeOfTheClock) {
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(wait(now), std::chrono::seconds(i));
    EXPECT_FALSE(store_->reserveTurn("deezer", {}, now, now + 8s)) << "by others";
    EXPECT_FALSE(store_->reserveTurn("deezer", {}, now, now));
}

/** What turns were reserved when some callers reserved some each for the same moment, in order. */
using Turns = std::vector<Clock::rep>;
constexpr int callers = 4;
constexpr int turnsEach = 25;

void expectOneEachSecond(Turns turns) {
    ASSERT_EQ(turns.size(), std::size_t{callers} * turnsEach);
    std::sort(turns.begin(), turns.end());
    for (std::size_t i = 0; i < turns.size(); ++i)
        EXPECT_EQ(Clock::time_point(Clock::duration(turns[i])), now + (i < 2 ? 0 : i - 2) * 1s) << i;
}

void reserveTurns(CoverStore& store, const std::function<void(Clock::rep)>& reserved) {
    for (int i = 0; i < turnsEach; ++i) {
        const auto turn = store.reserveTurn("deezer", {.interval = 1s, .burst = 3}, now, now + 1h);
        if (turn) reserved(turn->time_since_epoch().count());
    }
}

TEST_P(AnswersTest, ThreadsWithStoresOfTheirOwnShareTheTurns) {
    std::vector<Turns> turns(callers);
    std::vector<std::thread> threads;
    threads.reserve(callers);
    for (Turns& own : turns)
        threads.emplace_back([this, &own] {
            const auto store = another();
            reserveTurns(*store, [&](Clock::rep turn) { own.push_back(turn); });
        });
    Turns all;
    for (std::size_t i = 0; i < callers; ++i) {
        threads[i].join();
        all.insert(all.end(), turns[i].begin(), turns[i].end());
    }
    (void)wait(now, {.interval = 1s, .burst = 3});
    expectOneEachSecond(all);
}

TEST_P(AnswersTest, ProcessesShareTheTurns) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < callers; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            bool good = true;
            try {
                const auto store = another();
                reserveTurns(*store, [&](Clock::rep turn) {
                    good = good && write(ends[1], &turn, sizeof turn) == sizeof turn;
                });
            } catch (const std::exception&) {
                good = false;
            }
            _exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    close(ends[1]);
    Turns all;
    Clock::rep turn = 0;
    while (read(ends[0], &turn, sizeof turn) == sizeof turn)
        all.push_back(turn);
    close(ends[0]);
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    expectOneEachSecond(all);
}

TEST_P(AnswersTest, RemembersTheStateOfAService) {
    const store::ServiceState state{.failures = 3, .reason = "It says 503.", .pausedUntil = now + 1h};
    store_->setServiceState("deezer", state);
    EXPECT_EQ(store_->serviceState("deezer"), state);
    EXPECT_EQ(another()->serviceState("deezer"), state);
    EXPECT_EQ(store_->serviceState("itunes"), store::ServiceState{});
    store_->setServiceState("deezer", {});
    EXPECT_EQ(store_->serviceState("deezer"), store::ServiceState{});
}

TEST_P(AnswersTest, StateAndTurnsOfAServiceLeaveEachOtherAlone) {
    const store::ServiceState state{.failures = 1, .reason = "It says 503.", .pausedUntil = now};
    EXPECT_EQ(wait(now), 0s);
    store_->setServiceState("deezer", state);
    EXPECT_EQ(wait(now), 1s);
    EXPECT_EQ(store_->serviceState("deezer"), state);
}

TEST_P(AnswersTest, AnOfferedImageIsFoundByItsHash) {
    const std::string content("\x89PNG\0\xFF bytes", 12);
    const std::string hash = offer(content);
    EXPECT_EQ(hash, store::sha256(bytesOf(content)));
    ASSERT_TRUE(store_->image(hash));
    EXPECT_EQ(textOf(store_->image(hash)->bytes()), content);
    EXPECT_TRUE(another()->image(hash));
    EXPECT_TRUE(store_->emptyEntries().empty()) << "it makes no entry";
    EXPECT_EQ(store_->search({}, 10).total, 0);
}

TEST_P(AnswersTest, OfTheOfferedImagesTheLastAreKept) {
    const auto content = [](int number) { return "image " + std::to_string(number); };
    for (int i = 0; i < CoverStore::maxOfferedImages; ++i)
        offer(content(i));
    EXPECT_TRUE(has(content(0)));
    offer(content(0));
    EXPECT_TRUE(has(content(1))) << "it was there already";
    offer("one more");
    EXPECT_TRUE(has(content(0))) << "it was offered again";
    EXPECT_FALSE(has(content(1)));
    EXPECT_TRUE(has(content(2)));
    EXPECT_TRUE(has("one more"));
}

TEST_P(AnswersTest, AnOfferedImageThatAnEntryTookStaysWithTheEntry) {
    const std::string hash = offer("taken");
    const int id = keep("Tide", "taken");
    keep("Ebb", "replaced");
    keep("Ebb", "other");
    offer("replaced");
    for (int i = 0; i < CoverStore::maxOfferedImages; ++i)
        offer("image " + std::to_string(i));
    ASSERT_TRUE(store_->cover(id));
    EXPECT_EQ(store_->cover(id)->hash, hash);
    EXPECT_TRUE(has("taken"));
    EXPECT_TRUE(has("replaced")) << "it is an earlier one";
}

TEST_P(AnswersTest, AnImageThatAnEntryLetsGoStaysAsLongAsItIsOffered) {
    const int id = keep("Tide", "0");
    const auto before = store_->cover(id);
    offer("0");
    EXPECT_EQ(store_->cover(id), before) << "its type and size are those that it came with";
    for (int i = 1; i <= CoverStore::maxEarlierImages + 1; ++i)
        keep("Tide", std::to_string(i));
    EXPECT_TRUE(has("0"));
    for (int i = 0; i < CoverStore::maxOfferedImages; ++i)
        offer("image " + std::to_string(i));
    EXPECT_FALSE(has("0"));
}

std::unique_ptr<CoverStore> openSqlite(const std::filesystem::path& folder) {
    return std::make_unique<store::SqliteStore>(folder);
}

INSTANTIATE_TEST_SUITE_P(Sqlite, AnswersTest, testing::Values(&openSqlite),
                         [](const auto&) { return "Store"; });

} // namespace
