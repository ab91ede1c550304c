// SPDX-License-Identifier: MIT
#include "tests/unit/net/Fetching.h"
#include "tests/unit/net/LoopbackServer.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <ctime>
#include <optional>

// Tests of HttpTransfer that need HttpFetches: HttpClient's tests don't cover them.

namespace {

using namespace std::chrono_literals;
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

std::string gzipped(const std::string& bytes) {
    constexpr int gzipFormat = 15 + 16;
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, gzipFormat, 9, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    std::string source = bytes;
    stream.next_in = reinterpret_cast<Bytef*>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

TEST(HttpTransfer, UnpacksTheAnswer) {
    const std::string body(100'000, 'x');
    LoopbackServer server(
        always(httpAnswer(gzipped(body), "200 OK", "Content-Encoding: gzip\r\nContent-Type: text/xml\r\n")));
    const net::HttpOutcome outcome = fetch({.url = server.url("/")}, {.maxBodyBytes = body.size()});
    EXPECT_EQ(outcome.failure, "");
    EXPECT_EQ(outcome.answer.body, body);
}

TEST(HttpTransfer, CutsWhatUnpacksBeyondTheLimit) {
    std::string zeros;
    zeros.resize(10'000'000);
    const std::string bomb = gzipped(zeros);
    ASSERT_LT(bomb.size(), 20'000U);
    LoopbackServer server(always(httpAnswer(bomb, "200 OK", "Content-Encoding: gzip\r\n")));
    LoopbackServer twice(always(httpAnswer(gzipped(bomb), "200 OK", "Content-Encoding: gzip, gzip\r\n")));
    const net::HttpSettings settings{.maxBodyBytes = 1'000'000};
    EXPECT_EQ(failure(server.url("/"), settings), "The server's answer is larger than 1000000 bytes.");
    EXPECT_EQ(failure(twice.url("/"), settings), "The server's answer is larger than 1000000 bytes.");
}

TEST(HttpTransfer, TellsWhatCannotBeUnpacked) {
    for (const char* encoding : {"gzip", "deflate", "none-such"}) {
        LoopbackServer server(
            always(httpAnswer("plain", "200 OK", fmt::format("Content-Encoding: {}\r\n", encoding))));
        EXPECT_EQ(failure(server.url("/")), "The server's answer can't be unpacked.") << encoding;
    }
}

TEST(HttpTransfer, CutsALargeBodyAtTheLimit) {
    LoopbackServer announced([](Client& client, const std::string&) {
        client.send("HTTP/1.1 200 OK\r\nContent-Length: 50000000\r\n\r\n");
        client.sendEndlessly(std::string(100'000, 'x'));
        return false;
    });
    LoopbackServer unannounced([](Client& client, const std::string&) {
        client.send("HTTP/1.1 200 OK\r\n\r\n");
        client.sendEndlessly(std::string(100'000, 'x'));
        return false;
    });
    LoopbackServer quick(alwaysKeeping("quick"));
    net::HttpFetches fetches({.maxBodyBytes = 1'000'000});
    const auto outcomes = fetchAll(fetches, {announced.url("/"), unannounced.url("/"), quick.url("/")});
    EXPECT_EQ(outcomes[0].failure, "The server's answer is larger than 1000000 bytes.");
    EXPECT_EQ(outcomes[1].failure, "The server's answer is larger than 1000000 bytes.");
    EXPECT_EQ(outcomes[2].answer.body, "quick") << outcomes[2].failure;
}

TEST(HttpTransfer, FollowsFiveRedirectsAndNoMore) {
    LoopbackServer server([](Client& client, const std::string& head) {
        const int number = std::stoi(pathOf(head).substr(1));
        client.send(number == 0 ? httpAnswer("end") : httpRedirect(fmt::format("/{}", number - 1)));
        return false;
    });
    net::HttpFetches fetches({});
    const auto outcomes = fetchAll(fetches, {server.url("/5"), server.url("/6")});
    EXPECT_EQ(outcomes[0].answer.body, "end") << outcomes[0].failure;
    EXPECT_EQ(outcomes[1].failure, "The server redirects more than 5 times.");
}

TEST(HttpTransfer, OpensNoConnectionToAPrivateAddressWhereThatIsDenied) {
    const net::HttpSettings settings{.privateAddresses = net::PrivateAddresses::Deny};
    LoopbackServer server(always(httpAnswer("")));
    for (const char* host : {"127.0.0.1", "localhost", "[::ffff:127.0.0.1]"})
        EXPECT_EQ(failure(fmt::format("http://{}:{}/", host, server.port()), settings),
                  "The server has a private address, which the parameter privateAddresses denies.");
    EXPECT_EQ(server.connections().size(), 0U);
}

std::optional<std::chrono::seconds> retryAfter(const std::string& headers) {
    LoopbackServer server(always(httpAnswer("", "503 Busy", headers)));
    const net::HttpOutcome outcome = fetch({.url = server.url("/")});
    EXPECT_EQ(outcome.failure, "");
    return outcome.answer.retryAfter;
}

TEST(HttpTransfer, TellsWhenTheServerWantsToBeAskedAgain) {
    EXPECT_EQ(retryAfter(""), std::nullopt);
    EXPECT_EQ(retryAfter("Retry-After: 0\r\n"), 0s);
    EXPECT_EQ(retryAfter("retry-after:  120 \r\n"), 120s);
    EXPECT_EQ(retryAfter("Retry-After: 1\r\nRetry-After: 2\r\n"), 1s);
    EXPECT_EQ(retryAfter("Retry-After: 99999999999999999999\r\n"), net::maxRetryAfter);
    EXPECT_EQ(retryAfter("Retry-After: 9999999\r\n"), net::maxRetryAfter);
    for (const char* unreadable : {"", "soon", "1s", "-", "12 monkeys"})
        EXPECT_EQ(retryAfter(fmt::format("Retry-After: {}\r\n", unreadable)), std::nullopt) << unreadable;
}

std::string httpDate(std::time_t time) {
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts)};
}

TEST(HttpTransfer, ReadsTheDateOfRetryAfter) {
    EXPECT_EQ(retryAfter("Retry-After: Fri, 31 Dec 1999 23:59:59 GMT\r\n"), 0s);
    const std::time_t before = std::time(nullptr);
    const auto pause = retryAfter(fmt::format("Retry-After: {}\r\n", httpDate(before + 1000)));
    ASSERT_TRUE(pause);
    EXPECT_LE(*pause, 1000s);
    EXPECT_GE(*pause, 1000s - std::chrono::seconds(std::time(nullptr) - before));
}

TEST(HttpTransfer, TakesRetryAfterFromTheLastAnswer) {
    LoopbackServer server([](Client& client, const std::string& head) {
        client.send(pathOf(head) == "/" ? httpAnswer("", "302 Found", "Location: /end\r\nRetry-After: 7\r\n")
                                        : httpAnswer("end"));
        return false;
    });
    const net::HttpOutcome outcome = fetch({.url = server.url("/")});
    EXPECT_EQ(outcome.answer.body, "end");
    EXPECT_EQ(outcome.answer.retryAfter, std::nullopt);
}

} // namespace
