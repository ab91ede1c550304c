// SPDX-License-Identifier: MIT
#include "tests/unit/net/Fetching.h"
#include "tests/unit/net/LoopbackServer.h"
#include "tests/unit/net/SilentResolver.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <list>

namespace {

using namespace std::chrono_literals;
using Clock = net::HttpFetches::Clock;
using tests::always;
using tests::alwaysKeeping;
using tests::Client;
using tests::failure;
using tests::fetch;
using tests::fetchAll;
using tests::httpAnswer;
using tests::httpRedirect;
using tests::LoopbackServer;
using tests::pathOf;
using tests::soon;

const std::string tooLate = "The server did not answer in time.";

bool saysNothing(Client& client, const std::string&) {
    client.keepWaiting();
    return false;
}

/** A barrier: each caller of attend() waits until all seats are taken. */
class Meeting {
public:
    explicit Meeting(int seats) : missing_(seats) {}

    /** @return false when not all have come after 20 s */
    [[nodiscard]] bool attend() {
        std::unique_lock lock(mutex_);
        --missing_;
        change_.notify_all();
        return change_.wait_for(lock, 20s, [&] { return missing_ <= 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable change_;
    int missing_; // guarded by mutex_
};

TEST(HttpFetches, GivesStatusTypeAndBytes) {
    LoopbackServer server(always(httpAnswer("none", "404 Not Found")));
    const net::HttpOutcome outcome = fetch({.url = server.url("/cover")});
    EXPECT_EQ(outcome.failure, "");
    EXPECT_EQ(outcome.answer.status, 404);
    EXPECT_EQ(outcome.answer.contentType, "image/png");
    EXPECT_EQ(outcome.answer.body, "none");
}

TEST(HttpFetches, HasNothingToWaitForWithoutARequest) {
    net::HttpFetches fetches({});
    fetches.run(Clock::time_point::max());
}

TEST(HttpFetches, AsksSideBySide) {
    Meeting meeting(2);
    const auto handler = [&](Client& client, const std::string&) {
        client.send(httpAnswer(meeting.attend() ? "met" : "alone"));
        return false;
    };
    LoopbackServer one(handler);
    LoopbackServer other(handler);
    net::HttpFetches fetches({});
    for (const net::HttpOutcome& outcome : fetchAll(fetches, {one.url("/"), other.url("/")}))
        EXPECT_EQ(outcome.answer.body, "met") << outcome.failure;
}

TEST(HttpFetches, TellsWhatIsDoneBeforeWhatIsSlow) {
    Meeting meeting(2);
    LoopbackServer slow([&](Client& client, const std::string&) {
        client.send(httpAnswer(meeting.attend() ? "slow" : "alone"));
        return false;
    });
    LoopbackServer quick(always(httpAnswer("quick")));
    net::HttpFetches fetches({});
    std::vector<std::string> order;
    fetches.start({.url = slow.url("/")}, Clock::now(),
                  [&](const net::HttpOutcome& outcome) { order.push_back(outcome.answer.body); });
    fetches.start({.url = quick.url("/")}, Clock::now(), [&](const net::HttpOutcome& outcome) {
        order.push_back(outcome.answer.body);
        (void)meeting.attend();
    });
    fetches.run(soon());
    EXPECT_EQ(order, (std::vector<std::string>{"quick", "slow"}));
}

TEST(HttpFetches, AsksNotBeforeItsTime) {
    std::mutex mutex;
    std::vector<std::pair<std::string, Clock::time_point>> asked;
    LoopbackServer server([&](Client& client, const std::string& head) {
        const std::lock_guard lock(mutex);
        asked.emplace_back(pathOf(head), Clock::now());
        client.send(httpAnswer(""));
        return false;
    });
    net::HttpFetches fetches({});
    const Clock::time_point now = Clock::now();
    std::vector<std::string> failures;
    for (const auto& [path, begin] :
         {std::pair{"/third", now + 150ms}, {"/second", now + 50ms}, {"/first", Clock::time_point()}})
        fetches.start({.url = server.url(path)}, begin,
                      [&](const net::HttpOutcome& outcome) { failures.push_back(outcome.failure); });
    fetches.run(soon());
    EXPECT_EQ(failures, std::vector<std::string>(3));
    ASSERT_EQ(asked.size(), 3U);
    std::sort(asked.begin(), asked.end());
    EXPECT_EQ(asked[0].first, "/first");
    EXPECT_EQ(asked[1].first, "/second");
    EXPECT_GE(asked[1].second, now + 50ms);
    EXPECT_EQ(asked[2].first, "/third");
    EXPECT_GE(asked[2].second, now + 150ms);
}

TEST(HttpFetches, RefusesAtOnceWhatWouldBeginAfterTheDeadline) {
    LoopbackServer server(always(httpAnswer("")));
    net::HttpFetches fetches({});
    const Clock::time_point deadline = Clock::now() + 1h;
    std::string sentence;
    fetches.start({.url = server.url("/")}, deadline + 1ms,
                  [&](const net::HttpOutcome& outcome) { sentence = outcome.failure; });
    fetches.run(deadline);
    EXPECT_EQ(sentence, "The server can't be asked again in time.");
    EXPECT_LT(Clock::now(), deadline);
    EXPECT_EQ(server.connections().size(), 0U);
}

TEST(HttpFetches, LeavesTheSlowAtTheDeadline) {
    const tests::LoopbackSocket deaf; // refuses connections
    LoopbackServer silent(saysNothing);
    LoopbackServer slow([](Client& client, const std::string&) {
        client.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nbegun");
        client.keepWaiting();
        return false;
    });
    LoopbackServer quick(always(httpAnswer("quick")));
    net::HttpFetches fetches({});
    const Clock::time_point deadline = Clock::now() + 1s;
    const auto outcomes =
        fetchAll(fetches, {silent.url("/"), slow.url("/"), deaf.url("/"), quick.url("/")}, deadline);
    EXPECT_GE(Clock::now(), deadline);
    EXPECT_EQ(outcomes[0].failure, tooLate);
    EXPECT_EQ(outcomes[1].failure, tooLate);
    EXPECT_EQ(outcomes[1].answer.body, "");
    EXPECT_EQ(outcomes[2].failure, "The server can't be reached.");
    EXPECT_EQ(outcomes[3].failure, "");
    EXPECT_EQ(outcomes[3].answer.body, "quick");
}

TEST(HttpFetches, LeavesAtTheDeadlineWhatWaitsForItsTurn) {
    LoopbackServer silent(saysNothing);
    net::HttpFetches fetches({});
    for (const net::HttpOutcome& outcome :
         fetchAll(fetches, std::vector<std::string>(50, silent.url("/")), Clock::now() + 100ms))
        EXPECT_EQ(outcome.failure, tooLate);
}

TEST(HttpFetches, AsksNobodyAfterTheDeadline) {
    LoopbackServer server(always(httpAnswer("")));
    net::HttpFetches fetches({});
    std::string sentence;
    fetches.start({.url = server.url("/")}, {},
                  [&](const net::HttpOutcome& outcome) { sentence = outcome.failure; });
    fetches.run(Clock::now());
    EXPECT_EQ(sentence, tooLate);
    EXPECT_EQ(server.connections().size(), 0U);
}

TEST(HttpFetches, GivesEachRequestItsOwnTime) {
    LoopbackServer silent(saysNothing);
    const Clock::time_point deadline = Clock::now() + 1h;
    EXPECT_EQ(failure(silent.url("/"), {.totalTimeout = 100ms}, deadline), tooLate);
    EXPECT_LT(Clock::now(), deadline);
}

TEST(HttpFetches, CountsNoTimeBeforeItsTurn) {
    LoopbackServer server([](Client& client, const std::string& head) {
        if (pathOf(head) == "/silent") client.keepWaiting();
        client.send(httpAnswer("here"));
        return false;
    });
    net::HttpFetches fetches({.totalTimeout = 1s});
    std::vector<std::string> urls(4, server.url("/silent"));
    urls.push_back(server.url("/waits"));
    const auto outcomes = fetchAll(fetches, urls);
    EXPECT_EQ(outcomes[0].failure, tooLate);
    EXPECT_EQ(outcomes[4].answer.body, "here") << outcomes[4].failure;
}

TEST(HttpFetches, DoesNotWaitForTheResolver) {
    const tests::SilentResolver resolver;
    const std::string url = fmt::format("http://{}/", tests::SilentResolver::name);
    EXPECT_EQ(failure(url, {}, Clock::now() + 100ms), tooLate);
    EXPECT_EQ(failure(url, {.totalTimeout = 100ms}), tooLate);
    tests::SilentResolver::waitUntilAsked();
}

TEST(HttpFetches, LetsDoneStartMore) {
    LoopbackServer server(alwaysKeeping("more"));
    net::HttpFetches fetches({});
    int left = 3;
    std::function<void(net::HttpOutcome)> next = [&](const net::HttpOutcome& outcome) {
        EXPECT_EQ(outcome.answer.body, "more") << outcome.failure;
        if (left-- > 0) fetches.start({.url = server.url("/")}, Clock::now(), next);
    };
    fetches.start({.url = server.url("/")}, Clock::now(), next);
    fetches.run(soon());
    EXPECT_EQ(left, -1);
}

TEST(HttpFetches, FailsWhatIsStartedFromDoneTooLate) {
    LoopbackServer silent(saysNothing);
    net::HttpFetches fetches({});
    std::vector<std::string> failures;
    const auto note = [&](const net::HttpOutcome& outcome) { failures.push_back(outcome.failure); };
    fetches.start({.url = silent.url("/")}, Clock::now(), [&](const net::HttpOutcome& outcome) {
        note(outcome);
        fetches.start({.url = silent.url("/")}, {}, note);
    });
    fetches.run(Clock::now() + 50ms);
    EXPECT_EQ(failures, (std::vector<std::string>{tooLate, tooLate}));
}

TEST(HttpFetches, IsEndedByWhatDoneThrows) {
    LoopbackServer silent(saysNothing);
    LoopbackServer server(alwaysKeeping("answer"));
    net::HttpFetches fetches({});
    int others = 0;
    const auto count = [&](const net::HttpOutcome&) { ++others; };
    fetches.start({.url = silent.url("/running")}, Clock::now(), count);
    fetches.start({.url = silent.url("/waiting")}, Clock::now() + 20s, count);
    fetches.start({.url = server.url("/")}, Clock::now(),
                  [](const net::HttpOutcome&) { throw std::runtime_error("stop"); });
    EXPECT_THROW(fetches.run(soon()), std::runtime_error);
    EXPECT_EQ(fetchAll(fetches, {server.url("/")})[0].answer.body, "answer");
    EXPECT_EQ(others, 0);
}

TEST(HttpFetches, ForgetsWhatWasNeverRun) {
    LoopbackServer server(alwaysKeeping("answer"));
    {
        net::HttpFetches fetches({});
        fetches.start({.url = server.url("/")}, Clock::now(), [](const net::HttpOutcome&) { FAIL(); });
    }
    EXPECT_EQ(server.connections().size(), 0U);
}

/** Starts `requests` requests to each server, which never answer. Aborts them once `meeting` is full. */
void fillUp(Meeting& meeting, const std::vector<LoopbackServer*>& servers, int requests) {
    net::HttpFetches fetches({});
    LoopbackServer full([&](Client& client, const std::string&) {
        client.send(httpAnswer(meeting.attend() ? "full" : "not full"));
        return false;
    });
    fetches.start({.url = full.url("/")}, Clock::now(), [](const net::HttpOutcome& outcome) {
        throw std::runtime_error(outcome.answer.body + outcome.failure);
    });
    for (int i = 0; i < requests; ++i)
        for (LoopbackServer* server : servers)
            fetches.start({.url = server->url("/")}, Clock::now(), [](const net::HttpOutcome&) { FAIL(); });
    try {
        fetches.run(soon());
        FAIL();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "full");
    }
}

std::size_t requestsAt(LoopbackServer& server) {
    std::size_t count = 0;
    for (const auto& heads : server.connections())
        count += heads.size();
    return count;
}

TEST(HttpFetches, AsksOneServerForFourThingsAtOnce) {
    Meeting meeting(4 + 1);
    LoopbackServer server([&](Client& client, const std::string&) {
        (void)meeting.attend();
        client.keepWaiting();
        return false;
    });
    fillUp(meeting, {&server}, 20);
    EXPECT_EQ(requestsAt(server), 4U);
}

TEST(HttpFetches, AsksForThirtyTwoThingsAtOnce) {
    Meeting meeting(32);
    std::list<LoopbackServer> servers;
    std::vector<LoopbackServer*> all;
    all.reserve(12);
    for (int i = 0; i < 12; ++i)
        all.push_back(&servers.emplace_back([&](Client& client, const std::string&) {
            (void)meeting.attend();
            client.keepWaiting();
            return false;
        }));
    fillUp(meeting, all, 4);
    std::size_t count = 0;
    for (LoopbackServer& server : servers)
        count += requestsAt(server);
    EXPECT_EQ(count, 31U);
}

TEST(HttpFetches, KeepsNobodyWaitingForABusyServer) {
    LoopbackServer silent(saysNothing);
    LoopbackServer server(alwaysKeeping("answer"));
    net::HttpFetches fetches({});
    int answered = 0;
    for (int i = 0; i < 40; ++i)
        fetches.start({.url = silent.url("/")}, Clock::now(), [](const net::HttpOutcome&) { FAIL(); });
    for (int i = 0; i < 40; ++i)
        fetches.start({.url = server.url("/")}, Clock::now(), [&](const net::HttpOutcome& outcome) {
            EXPECT_EQ(outcome.answer.body, "answer") << outcome.failure;
            if (++answered == 40) throw std::runtime_error("all");
        });
    EXPECT_THROW(fetches.run(soon()), std::runtime_error);
}

TEST(HttpFetches, FetchesTwoHundredThingsOverFourConnections) {
    LoopbackServer server([](Client& client, const std::string& head) {
        const std::string path = pathOf(head);
        client.send(fmt::format("HTTP/1.1 200 OK\r\nContent-Length: {}\r\n\r\n{}", path.size(), path));
        return true;
    });
    net::HttpFetches fetches({});
    std::vector<std::string> urls;
    urls.reserve(200);
    for (int i = 0; i < 200; ++i)
        urls.push_back(server.url(fmt::format("/{}", i)));
    const auto outcomes = fetchAll(fetches, urls);
    for (std::size_t i = 0; i < outcomes.size(); ++i)
        EXPECT_EQ(outcomes[i].answer.body, fmt::format("/{}", i)) << outcomes[i].failure;
    EXPECT_LE(server.connections().size(), 4U);
    EXPECT_EQ(requestsAt(server), 200U);
}

TEST(HttpFetches, KeepsItsConnectionsForTheNextRun) {
    LoopbackServer server(alwaysKeeping("ok"));
    net::HttpFetches fetches({});
    (void)fetchAll(fetches, {server.url("/one")});
    (void)fetchAll(fetches, {server.url("/two")});
    ASSERT_EQ(server.connections().size(), 1U);
    EXPECT_EQ(server.connections()[0].size(), 2U);
}

TEST(HttpFetches, SendsTheHeadersOfTheRequestInsteadOfItsOwn) {
    LoopbackServer server(always(httpAnswer("")));
    (void)fetch({.url = server.url("/?q=1"),
                 .headers = {"Authorization: Discogs token=T", "User-Agent: other/1", "accept: text/xml"}});
    EXPECT_EQ(server.connections().at(0).at(0),
              fmt::format("GET /?q=1 HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nAccept-Encoding: gzip, deflate\r\n"
                          "Authorization: Discogs token=T\r\nUser-Agent: other/1\r\naccept: text/xml\r\n\r\n",
                          server.port()));
}

TEST(HttpFetches, NamesItself) {
    LoopbackServer server(always(httpAnswer("")));
    (void)fetch({.url = server.url("/")});
    EXPECT_NE(server.connections().at(0).at(0).find("\r\nUser-Agent: "
                                                    "sleevery/" SLEEVERY_VERSION " ( " SLEEVERY_HOME_PAGE " )"
                                                    "\r\n"),
              std::string::npos);
}

TEST(HttpFetches, KeepsTheAuthorizationFromAnotherServer) {
    LoopbackServer goal(always(httpAnswer("there")));
    LoopbackServer server(always(httpRedirect(goal.url("/there"))));
    EXPECT_EQ(fetch({.url = server.url("/"), .headers = {"Authorization: secret"}}).answer.body, "there");
    EXPECT_EQ(goal.connections().at(0).at(0).find("secret"), std::string::npos);
    EXPECT_EQ(goal.connections().at(0).at(0).find("Referer"), std::string::npos);
}

TEST(HttpFetches, RefusesAHeaderOfTwoLines) {
    LoopbackServer server(always(httpAnswer("")));
    for (const char* header : {"X: y\r\nInjected: z", "X: y\n", "X\t: y"})
        EXPECT_EQ(fetch({.url = server.url("/"), .headers = {header}}).failure,
                  "A header of the request is malformed.");
    EXPECT_EQ(server.connections().size(), 0U);
}

TEST(HttpFetches, RefusesWhatIsNoAddressOfAWebServer) {
    net::HttpFetches fetches({});
    LoopbackServer server(alwaysKeeping("good"));
    const auto outcomes =
        fetchAll(fetches, {"file:///etc/passwd", "", "http://", "http://127.0.0.1:99999/", server.url("/")});
    EXPECT_EQ(outcomes[0].failure, "The address is neither http nor https.");
    EXPECT_EQ(outcomes[1].failure, "The address is neither http nor https.");
    EXPECT_EQ(outcomes[2].failure, "The address, or one that it is redirected to, is malformed.");
    EXPECT_EQ(outcomes[3].failure, "The address, or one that it is redirected to, is malformed.");
    EXPECT_EQ(outcomes[4].answer.body, "good") << outcomes[4].failure;
}

TEST(HttpFetches, NamesNoSecretInItsSentences) {
    const tests::LoopbackSocket deaf;
    LoopbackServer silent(saysNothing);
    LoopbackServer broken(always(""));
    LoopbackServer loop(always(httpRedirect("http://127.0.0.1:1/?api_key=sesame")));
    net::HttpFetches fetches({});
    const auto outcomes =
        fetchAll(fetches,
                 {deaf.url("/?api_key=sesame"), silent.url("/?api_key=sesame"),
                  broken.url("/?api_key=sesame"), loop.url("/"), "http://covers.invalid/?api_key=sesame",
                  "ftp://127.0.0.1/?api_key=sesame", "http://127.0.0.1:99999/?api_key=sesame"},
                 Clock::now() + 500ms);
    for (const net::HttpOutcome& outcome : outcomes) {
        EXPECT_NE(outcome.failure, "");
        EXPECT_EQ(outcome.failure.find("sesame"), std::string::npos) << outcome.failure;
        EXPECT_EQ(outcome.failure.find_first_of("<>&"), std::string::npos) << outcome.failure;
    }
}

} // namespace
