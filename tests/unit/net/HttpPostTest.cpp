// SPDX-License-Identifier: MIT
#include "net/HttpClient.h"
#include "tests/unit/Waiting.h"
#include "tests/unit/net/LoopbackServer.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using tests::always;
using tests::Client;
using tests::httpAnswer;
using tests::LoopbackServer;

/** Answers each request with the request's own body and keeps the connection. */
bool echo(Client& client, const std::string& head) {
    const std::string body = client.readBody(head);
    client.send(fmt::format("HTTP/1.1 200 OK\r\nContent-Length: {}\r\n\r\n{}", body.size(), body));
    return true;
}

/** The error sentence of a request; empty when it succeeds. */
std::string failure(net::HttpClient& client, const std::string& url, std::string_view body = "<Next/>") {
    try {
        (void)client.post(url, "text/xml", body);
        return "";
    } catch (const util::Exception& e) {
        return e.what();
    }
}

std::string failure(const std::string& url, const net::HttpSettings& settings) {
    net::HttpClient client(settings);
    return failure(client, url);
}

TEST(HttpPost, SendsTheBodyAsItIs) {
    LoopbackServer server(echo);
    net::HttpClient client;
    for (const std::string& body :
         {std::string("<Next/>"), std::string(), std::string("a\0\xFF\r\n", 5), std::string(3'000'000, 'x')})
        EXPECT_EQ(client.post(server.url("/api"), "text/xml", body).body, body) << body.size();
    EXPECT_EQ(server.connections().size(), 2U); // the empty body needs its own connection
}

TEST(HttpPost, SendsNoMoreHeadersThanItMust) {
    LoopbackServer server(echo);
    net::HttpClient client;
    (void)client.post(server.url("/api?a=1"), "text/xml", "<Next/>");
    const std::string head = server.connections().at(0).at(0);
    EXPECT_TRUE(head.starts_with("POST /api?a=1 HTTP/1.1\r\n")) << head;
    EXPECT_NE(head.find("\r\nContent-Type: text/xml\r\n"), std::string::npos) << head;
    EXPECT_NE(head.find("\r\nContent-Length: 7\r\n"), std::string::npos) << head;
    EXPECT_EQ(head.find("Expect"), std::string::npos) << head;
}

TEST(HttpPost, LeavesARedirectToTheCaller) {
    LoopbackServer server(always(tests::httpRedirect("/elsewhere")));
    net::HttpClient client;
    EXPECT_EQ(client.post(server.url("/"), "text/xml", "<Next/>").status, 302);
    EXPECT_EQ(server.connections().size(), 1U);
}

TEST(HttpPost, IsNotWhatTheNextGetIs) {
    LoopbackServer server(echo);
    net::HttpClient client;
    (void)client.post(server.url("/"), "text/xml", "<Next/>");
    (void)client.get(server.url("/"));
    const std::string head = server.connections().at(0).at(1);
    EXPECT_TRUE(head.starts_with("GET ")) << head;
    EXPECT_EQ(head.find("Content-"), std::string::npos) << head;
}

/** Answers and then closes the connection without announcing that in the answer. */
bool answerAndClose(Client& client, const std::string& head) {
    (void)echo(client, head);
    return false;
}

TEST(HttpPost, GoesOverANewConnectionWhenTheKeptOneHasBeenClosed) {
    LoopbackServer server(answerAndClose);
    net::HttpClient client;
    for (int number = 1; number <= 3; ++number) {
        EXPECT_EQ(failure(client, server.url("/")), "");
        ASSERT_TRUE(tests::comesTrue([&] { return server.closed() == number; }));
    }
    EXPECT_EQ(server.connections().size(), 3U);
}

void isNotSentAgain(std::string_view body) {
    std::atomic<int> received = 0;
    LoopbackServer server([&](Client& client, const std::string& head) {
        if (++received != 2) return echo(client, head);
        (void)client.readBody(head); // then closes the connection without an answer
        return false;
    });
    net::HttpClient client;
    EXPECT_EQ(failure(client, server.url("/"), body), "");
    EXPECT_EQ(failure(client, server.url("/"), body), "The server broke the connection off.");
    EXPECT_EQ(received, 2);
    EXPECT_EQ(failure(client, server.url("/"), body), "") << "the next one has to pay for it";
    EXPECT_EQ(received, 3);
}

TEST(HttpPost, IsNotSentAgainOnceTheServerMayHaveIt) { isNotSentAgain("<Next/>"); }

TEST(HttpPost, IsNotSentAgainWithoutABodyEither) { isNotSentAgain(""); }

TEST(HttpPost, TellsWhatIsAWebServerNoLonger) {
    std::atomic<int> received = 0;
    LoopbackServer server([&](Client& client, const std::string& head) {
        if (++received == 1) return echo(client, head);
        (void)client.readBody(head);
        client.send("220 mail.example ready\r\n");
        return false;
    });
    net::HttpClient client;
    EXPECT_EQ(failure(client, server.url("/")), "");
    EXPECT_EQ(failure(client, server.url("/")), "The address leads to something other than a web server.");
    EXPECT_EQ(server.connections().size(), 1U); // the kept one was used again
}

TEST(HttpPost, FailsSoonAfterItIsCancelled) {
    std::atomic<bool> cancelled = false;
    LoopbackServer server([&](Client& client, const std::string&) {
        cancelled = true;
        client.keepWaiting();
        return false;
    });
    const net::HttpSettings settings{.totalTimeout = 1h, .cancelled = &cancelled};
    EXPECT_EQ(failure(server.url("/"), settings), "The server is not waited for any longer.");
}

TEST(HttpPost, CallsItsPeerByItsName) {
    const net::HttpSettings settings{.totalTimeout = 200ms, .maxBodyBytes = 5, .peer = "The appliance"};
    LoopbackServer silent([](Client& client, const std::string&) {
        client.keepWaiting();
        return false;
    });
    LoopbackServer broken(always(""));
    LoopbackServer large(always(httpAnswer("123456")));
    const tests::LoopbackSocket deaf;
    EXPECT_EQ(failure(silent.url("/"), settings), "The appliance did not answer in time.");
    EXPECT_EQ(failure(broken.url("/"), settings), "The appliance broke the connection off.");
    EXPECT_EQ(failure(large.url("/"), settings), "The appliance's answer is larger than 5 bytes.");
    EXPECT_EQ(failure(deaf.url("/"), settings), "The appliance can't be reached.");
}

TEST(HttpPost, TellsAUnixSocketWhereNobodyListens) {
    EXPECT_EQ(
        failure("http://localhost/", {.peer = "The appliance", .unixSocket = "/there/is/no/such.socket"}),
        "The appliance can't be reached.");
}

} // namespace
