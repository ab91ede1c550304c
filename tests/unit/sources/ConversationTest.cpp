// SPDX-License-Identifier: MIT
#include "sources/Conversation.h"
#include "sources/KeptCandidates.h"

#include "store/sqlite/Store.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/sources/FakeServices.h"
#include "util/Exception.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace std::chrono_literals;
using matching::Candidate;
using sources::Conversation;
using store::Clock;
using tests::busy;
using tests::found;
using tests::httpAnswer;

const std::vector<Candidate> lanterns{{.artist = "Lowbeam", .album = "Paper Lanterns"}};
const std::string tooMuch = "The service has too much to do.";
const std::string notInTime = "It can't be asked again in time.";

/** A point in time at a fixed distance from now, with the tolerance that a test needs. */
class Near {
public:
    explicit Near(Clock::duration after) : begin_(Clock::now() + after - 1ms), after_(after) {}

    /** `moment` is in whole milliseconds, because the store rounds it. */
    [[nodiscard]] bool holds(Clock::time_point moment) const {
        return moment >= begin_ && moment <= Clock::now() + after_;
    }

private:
    Clock::time_point begin_;
    Clock::duration after_;
};

class ConversationTest : public testing::Test {
protected:
    /** Requests a path in a new conversation, and captures standard error. */
    Conversation::Answer ask(const std::string& path, const tests::FakeSource& service) {
        return send({.url = web_.url(path)}, service);
    }
    Conversation::Answer ask(const std::string& path) { return ask(path, service_); }

    Conversation::Answer send(const sources::Request& request, const tests::FakeSource& service) {
        Conversation::Answer result;
        int answers = 0;
        testing::internal::CaptureStderr();
        Conversation conversation(store_, settings_);
        conversation.ask(service, request, [&](Conversation::Answer answer) {
            result = std::move(answer);
            ++answers;
        });
        conversation.run();
        said_ = testing::internal::GetCapturedStderr();
        EXPECT_EQ(answers, 1);
        return result;
    }

    std::optional<std::string> kept(const std::string& path, Clock::duration in = 0s) {
        return store_.keptAnswer("one " + web_.url(path), Clock::now() + in);
    }

    store::ServiceState state() { return store_.serviceState("one"); }

    void change(const std::string& sql) {
        SQLite::Database(folder_.path() / "covers.db", SQLite::OPEN_READWRITE).exec(sql);
    }

    tests::TemporaryFolder folder_;
    store::SqliteStore store_{folder_.path()};
    tests::FakeWeb web_;
    tests::FakeSource service_{"one", nullptr};
    sources::LookupSettings settings_{.timeout = 30s};
    std::string said_;
};

TEST_F(ConversationTest, AsksTheWebOnceAndTheStoreFromThenOn) {
    web_.answer("/a", {found(lanterns), found({})});
    const auto first = ask("/a");
    EXPECT_EQ(first.candidates, lanterns);
    EXPECT_FALSE(first.kept);
    EXPECT_EQ(first.failure, "");
    const auto second = ask("/a");
    EXPECT_EQ(second.candidates, lanterns);
    EXPECT_TRUE(second.kept);
    EXPECT_EQ(second.failure, "");
    EXPECT_EQ(web_.asked(), (std::vector<std::string>{"/a"}));
    EXPECT_EQ(said_, "");
}

TEST_F(ConversationTest, KeepsTheAnswersOfTwoServicesApart) {
    web_.answer("/a", {found(lanterns), found({})});
    EXPECT_EQ(ask("/a").candidates, lanterns);
    EXPECT_EQ(ask("/a", {"two", nullptr}).candidates, std::vector<Candidate>{});
    EXPECT_EQ(ask("/a").candidates, lanterns);
}

TEST_F(ConversationTest, KeepsAnswersForTheirAgeAndEmptyOnesForADayAtMost) {
    web_.answer("/full", {found(lanterns)});
    settings_.answerAge = 72h;
    (void)ask("/full");
    (void)ask("/empty");
    EXPECT_TRUE(kept("/full", 72h - 1min));
    EXPECT_FALSE(kept("/full", 72h + 1ms));
    EXPECT_TRUE(kept("/empty", 24h - 1min));
    EXPECT_FALSE(kept("/empty", 24h + 1ms));
    settings_.answerAge = 2h;
    (void)ask("/soon");
    EXPECT_TRUE(kept("/soon", 2h - 1min));
    EXPECT_FALSE(kept("/soon", 2h + 1ms));
}

TEST_F(ConversationTest, AsksAnewWhereWhatIsKeptCantBeRead) {
    web_.answer("/a", {found(lanterns)});
    for (const char* unreadable : {"", "[0]", "[1,[\"of another version\"]]", "{", "\xFF"}) {
        store_.keepAnswer("one " + web_.url("/a"), unreadable, Clock::now() + 1h);
        const auto answer = ask("/a");
        EXPECT_EQ(answer.candidates, lanterns) << unreadable;
        EXPECT_FALSE(answer.kept);
        EXPECT_EQ(kept("/a"), sources::toText(lanterns));
    }
    EXPECT_EQ(web_.asked().size(), 5U);
}

TEST_F(ConversationTest, SendsWhatIsSecretAndKeepsTheAnswerWithoutIt) {
    web_.answer("/k%2F1/a?q=1&api_key=s", {found(lanterns)});
    const sources::Request request{.url = web_.url("/{key}/a?q=1"),
                                   .secretQuery = "&api_key=s",
                                   .headers = {"Authorization: s"},
                                   .secretSegment = "k%2F1"};
    EXPECT_EQ(send(request, service_).candidates, lanterns);
    EXPECT_NE(web_.lastHead().find("\r\nAuthorization: s\r\n"), std::string::npos) << web_.lastHead();
    EXPECT_TRUE(kept("/{key}/a?q=1"));
    EXPECT_TRUE(send({.url = request.url, .secretQuery = "&api_key=other"}, service_).kept);
}

TEST_F(ConversationTest, KeepsNoFailure) {
    web_.answer("/a", {httpAnswer("nonsense"), httpAnswer("", "404 Oh"), found(lanterns)});
    EXPECT_EQ(ask("/a").failure, "What was kept of an answer was written by another version.");
    EXPECT_FALSE(kept("/a"));
    EXPECT_EQ(ask("/a").failure, "The service answers with the status 404.");
    EXPECT_FALSE(kept("/a"));
    EXPECT_EQ(ask("/a").candidates, lanterns);
}

TEST_F(ConversationTest, AnAnswerThatIsNoneDoesNotCountAgainstTheServiceNorForIt) {
    web_.answer("/a", {httpAnswer("", "400 Bad Request")});
    const store::ServiceState before{.failures = 2, .reason = "It was late."};
    store_.setServiceState("one", before);
    EXPECT_EQ(ask("/a").failure, "The service doesn't understand the question.");
    EXPECT_EQ(state(), before);
    EXPECT_EQ(said_, "sleevery.fcgi: one: The service doesn't understand the question.\n");
}

TEST_F(ConversationTest, CountsFailuresAndPausesAfterTheThirdForTwiceAsLongEachTime) {
    const tests::LoopbackSocket nobody; // refuses connections
    const sources::Request request{.url = nobody.url("/a")};
    const std::vector<Clock::duration> pauses{0min, 0min, 1min, 2min, 4min, 8min, 10min, 10min};
    for (std::size_t i = 0; i < pauses.size(); ++i) {
        const Near pause(pauses[i]);
        const std::string failure = send(request, service_).failure;
        EXPECT_NE(failure, "");
        EXPECT_EQ(said_, "sleevery.fcgi: one: " + failure + '\n');
        store::ServiceState now = state();
        EXPECT_EQ(now.failures, static_cast<int>(i) + 1);
        EXPECT_EQ(now.reason, failure);
        EXPECT_TRUE(pause.holds(now.pausedUntil)) << i;
        now.pausedUntil = {}; // the pause is over
        store_.setServiceState("one", now);
    }
}

TEST_F(ConversationTest, LeavesAServiceAloneThatIsPaused) {
    store_.setServiceState("one",
                           {.failures = 3, .reason = "It was late.", .pausedUntil = Clock::now() + 90s});
    const auto answer = ask("/a");
    EXPECT_TRUE(answer.failure == "It is left alone for another 90 s because it failed: It was late." ||
                answer.failure == "It is left alone for another 89 s because it failed: It was late.")
        << answer.failure;
    EXPECT_FALSE(answer.kept);
    EXPECT_EQ(ask("/a", {"two", nullptr}).failure, "");
    EXPECT_EQ(web_.asked().size(), 1U) << "by the other one";
    EXPECT_EQ(state().failures, 3);
}

TEST_F(ConversationTest, UsesKeptAnswersOfAServiceThatIsPaused) {
    store_.keepAnswer("one " + web_.url("/a"), sources::toText(lanterns), Clock::now() + 1h);
    store_.setServiceState("one",
                           {.failures = 3, .reason = "It was late.", .pausedUntil = Clock::now() + 90s});
    EXPECT_EQ(ask("/a").candidates, lanterns);
}

TEST_F(ConversationTest, APauseFromBeforeTheClockWasPutBackHoldsNobodyUp) {
    store_.setServiceState(
        "one", {.failures = 9, .reason = "x", .pausedUntil = Clock::now() + net::maxRetryAfter + 1s});
    EXPECT_EQ(ask("/a").failure, "");
}

TEST_F(ConversationTest, ForgivesWithTheFirstAnswer) {
    store_.setServiceState("one", {.failures = 5, .reason = "x", .pausedUntil = Clock::now() - 1s});
    EXPECT_EQ(ask("/a").failure, "");
    EXPECT_EQ(state(), store::ServiceState{});
}

TEST_F(ConversationTest, WhatAServiceHasAskedForHoldsWhateverElseArrives) {
    const Clock::time_point until = Clock::now() + 300s;
    store_.setServiceState("one", {.failures = 2, .reason = "x", .pausedUntil = until});
    Conversation conversation(store_, settings_);
    store_.setServiceState("one", {}); // the request leaves before the pause begins
    web_.answer("/a", {found(lanterns)});
    conversation.ask(service_, {.url = web_.url("/a")},
                     [&](const Conversation::Answer& answer) { EXPECT_EQ(answer.candidates, lanterns); });
    store_.setServiceState("one", {.failures = 2, .reason = "x", .pausedUntil = until});
    conversation.run();
    EXPECT_EQ(state().failures, 0);
    EXPECT_GT(state().pausedUntil, until - 1s);
    EXPECT_NE(ask("/b").failure, "");
}

TEST_F(ConversationTest, LeavesAServiceAloneForAsLongAsItWantsButADayAtMost) {
    for (const auto& [header, expected] :
         {std::pair<std::string, Clock::duration>{"Retry-After: 100\r\n", 100s},
          {"Retry-After: 7200\r\n", 2h},
          {"Retry-After: 172800\r\n", 24h}}) {
        store_.setServiceState("one", {});
        web_.answer("/a", {busy(header)});
        const Near pause(expected);
        EXPECT_EQ(ask("/a").failure, tooMuch);
        EXPECT_EQ(state().failures, 1);
        EXPECT_TRUE(pause.holds(state().pausedUntil)) << header;
        EXPECT_NE(ask("/a").failure.find("It is left alone for another "), std::string::npos);
    }
    EXPECT_EQ(web_.asked().size(), 3U) << "it is not asked again beyond the time that there is";
}

TEST_F(ConversationTest, AsksABusyServiceAgainAfterASecond) {
    web_.answer("/a", {busy(), found(lanterns)});
    const auto begin = Clock::now();
    const auto answer = ask("/a");
    EXPECT_GE(Clock::now() - begin, 1s);
    EXPECT_EQ(answer.candidates, lanterns);
    EXPECT_FALSE(answer.kept);
    EXPECT_EQ(web_.asked().size(), 2U);
    EXPECT_EQ(state(), store::ServiceState{});
    EXPECT_EQ(said_, "");
}

TEST_F(ConversationTest, AsksABusyServiceAgainNotBeforeItWants) {
    web_.answer("/a", {busy("Retry-After: 2\r\n"), found(lanterns)});
    const auto begin = Clock::now();
    EXPECT_EQ(ask("/a").candidates, lanterns);
    EXPECT_GE(Clock::now() - begin, 2s);
}

TEST_F(ConversationTest, DoesNotAskAgainWhereThereWasNoAnswer) {
    web_.answer("/a", {"", found(lanterns)});
    EXPECT_NE(ask("/a").failure, "");
    EXPECT_EQ(web_.asked().size(), 1U);
    EXPECT_EQ(state().failures, 1);
}

TEST_F(ConversationTest, DoesNotAskABusyServiceAgainBeyondTheDeadline) {
    web_.answer("/a", {busy()});
    settings_.timeout = 900ms;
    EXPECT_EQ(ask("/a").failure, tooMuch);
    EXPECT_EQ(web_.asked().size(), 1U);
    EXPECT_EQ(state().failures, 1);
}

TEST_F(ConversationTest, ABusyServiceWhoseTurnComesTooLateIsBusy) {
    web_.answer("/a", {busy()});
    EXPECT_EQ(ask("/a", {"one", nullptr, {.interval = 1min, .burst = 1}}).failure, tooMuch);
    EXPECT_EQ(web_.asked().size(), 1U);
    EXPECT_EQ(state().failures, 1);
}

TEST_F(ConversationTest, DoesNotAskWhereTheTurnComesTooLate) {
    const tests::FakeSource slow{"one", nullptr, {.interval = 1min, .burst = 1}};
    EXPECT_EQ(ask("/a", slow).failure, "");
    const auto begin = Clock::now();
    EXPECT_EQ(ask("/b", slow).failure, notInTime);
    EXPECT_LT(Clock::now() - begin, 20s) << "at once";
    EXPECT_EQ(web_.asked(), (std::vector<std::string>{"/a"}));
    EXPECT_EQ(state(), store::ServiceState{}) << "the service did nothing wrong";
    EXPECT_TRUE(ask("/a", slow).kept) << "what is kept needs no turn";
}

TEST_F(ConversationTest, WaitsForTheServicesTurn) {
    const tests::FakeSource slow{"one", nullptr, {.interval = 80ms, .burst = 1}};
    Conversation conversation(store_, settings_);
    int answers = 0;
    const auto begin = Clock::now();
    for (const char* path : {"/a", "/b", "/c"})
        conversation.ask(slow, {.url = web_.url(path)}, [&](const Conversation::Answer& answer) {
            EXPECT_EQ(answer.failure, "");
            ++answers;
        });
    conversation.run();
    EXPECT_GE(Clock::now() - begin, 160ms);
    EXPECT_EQ(answers, 3);
    EXPECT_EQ(web_.asked(), (std::vector<std::string>{"/a", "/b", "/c"}));
}

TEST_F(ConversationTest, EndsWithItsTime) {
    tests::LoopbackServer silent([](tests::Client& client, const std::string&) {
        client.keepWaiting();
        return false;
    });
    settings_.timeout = 30ms;
    EXPECT_EQ(send({.url = silent.url("/a")}, service_).failure, "The server did not answer in time.");
    EXPECT_EQ(state().failures, 1);
}

TEST_F(ConversationTest, DoesNotGoIntoTheOwnNetworkWhereThatIsDenied) {
    settings_.privateAddresses = net::PrivateAddresses::Deny;
    EXPECT_NE(ask("/a").failure, "");
    EXPECT_EQ(web_.asked().size(), 0U);
}

TEST_F(ConversationTest, ReadsNoMoreThanAnAnswerCanHave) {
    web_.answer("/a", {httpAnswer(sources::toText(lanterns) + std::string(std::size_t{8} << 20U, ' '))});
    EXPECT_NE(ask("/a").failure, "");
    EXPECT_FALSE(kept("/a"));
}

TEST_F(ConversationTest, MayBeAskedMoreByAnAnswer) {
    web_.answer("/b", {found(lanterns)});
    store_.keepAnswer("one " + web_.url("/kept"), sources::toText(lanterns), Clock::now() + 1h);
    Conversation conversation(store_, settings_);
    std::vector<std::string> order;
    conversation.ask(service_, {.url = web_.url("/kept")}, [&](const Conversation::Answer&) {
        order.emplace_back("kept");
        conversation.ask(service_, {.url = web_.url("/a")}, [&](const Conversation::Answer&) {
            order.emplace_back("a");
            conversation.ask(service_, {.url = web_.url("/b")}, [&](const Conversation::Answer& answer) {
                order.emplace_back("b");
                EXPECT_EQ(answer.candidates, lanterns);
            });
        });
    });
    EXPECT_EQ(order, (std::vector<std::string>{"kept"})) << "what is kept is there at once";
    conversation.run();
    EXPECT_EQ(order, (std::vector<std::string>{"kept", "a", "b"}));
}

TEST_F(ConversationTest, AFailureOfTheStoreIsNoFailureOfTheService) {
    change("CREATE TRIGGER broken BEFORE INSERT ON answers BEGIN SELECT RAISE(ABORT, 'x'); END");
    EXPECT_EQ(ask("/a").failure, "") << "an answer isn't less worth for lack of a place to keep it";
    EXPECT_NE(said_.find("sleevery.fcgi: nothing can be kept of one: "), std::string::npos) << said_;
    EXPECT_EQ(state(), store::ServiceState{});
    change("DROP TRIGGER broken; DROP TABLE services");
    EXPECT_THROW((void)ask("/a"), util::Exception);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(web_.asked().size(), 1U);
}

} // namespace
