// SPDX-License-Identifier: MIT
#include "bridge/Mpd.h"

#include "bridge/Failure.h"
#include "tests/unit/Waiting.h"
#include "tests/unit/bridge/FakeMpd.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using bridge::ErrorCode;
using bridge::Failure;
using bridge::Mpd;
using bridge::Refused;
using tests::addressOf;
using tests::answering;
using tests::Client;
using tests::LoopbackServer;
using tests::mpdManners;

constexpr std::chrono::seconds soon{1};

std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Refused& e) {
        return std::string("refused: ") + e.what();
    } catch (const Failure& e) {
        return (e.code() == ErrorCode::away ? "away: " : "other: ") + std::string(e.what());
    }
    return "nothing";
}

std::vector<std::string> pairsOf(Mpd& mpd, const bridge::MpdCommand& command) {
    std::vector<std::string> pairs;
    mpd.ask(command, [&](std::string_view name, std::string_view value) {
        pairs.push_back(std::string(name) + "=" + std::string(value));
    });
    return pairs;
}

TEST(Mpd, HandsOutTheFieldsOfAnAnswer) {
    LoopbackServer server(answering({{"status", "volume: 50\nerror: a: b\nOK\n"}}), mpdManners());
    Mpd mpd(addressOf(server));
    EXPECT_EQ(pairsOf(mpd, {"status"}), (std::vector<std::string>{"volume=50", "error=a: b"}));
    EXPECT_TRUE(mpd.usable());
}

TEST(Mpd, SendsArgumentsThatMpdTakesForOneEach) {
    LoopbackServer server(answering({{R"-(find "(Album == \"a \\\"b\\\\\")" "x")-", "OK\n"}}), mpdManners());
    Mpd mpd(addressOf(server));
    mpd.tell({"find", "(Album == " + bridge::quoted("a \"b\\") + ")", "x"});
}

TEST(Mpd, SendsThePasswordFirst) {
    LoopbackServer server(answering({{"password \"let me in\"", "OK\n"}, {"status", "OK\n"}}), mpdManners());
    bridge::MpdAddress address = addressOf(server);
    address.password = "let me in";
    Mpd(address).tell({"status"});
    EXPECT_EQ(tests::linesTo(server), (std::vector<std::string>{"password \"let me in\"", "status"}));
}

TEST(Mpd, IsNotToBeHadWithAWrongPassword) {
    LoopbackServer server(answering({{"password \"x\"", "ACK [3@0] {password} incorrect password\n"}}),
                          mpdManners());
    bridge::MpdAddress address = addressOf(server);
    address.password = "x";
    EXPECT_EQ(failureOf([&] { const Mpd mpd(address); }),
              "refused: The music server refuses: incorrect password");
}

TEST(Mpd, GoesOnBehindARefusal) {
    LoopbackServer server(
        answering({{"play \"7\"", "ACK [2@0] {play} Bad song index\n"}, {"status", "a: b\nOK\n"}}),
        mpdManners());
    Mpd mpd(addressOf(server));
    try {
        mpd.tell({"play", "7"});
        FAIL() << "not refused";
    } catch (const Refused& e) {
        EXPECT_STREQ(e.what(), "The music server refuses: Bad song index");
        EXPECT_TRUE(e.invalidArgument());
    }
    EXPECT_TRUE(mpd.usable());
    EXPECT_EQ(pairsOf(mpd, {"status"}), std::vector<std::string>{"a=b"});
}

TEST(Mpd, TellsWhatRefusalIsNotAboutAnArgument) {
    LoopbackServer server(answering({{"next", "ACK [55@0] {next} Not playing\n"}}), mpdManners());
    Mpd mpd(addressOf(server));
    try {
        mpd.tell({"next"});
        FAIL() << "not refused";
    } catch (const Refused& e) {
        EXPECT_FALSE(e.invalidArgument());
    }
}

TEST(Mpd, SendsAListAsOneAndHandsOutWhatCameBeforeTheRefusal) {
    LoopbackServer server(answering({{"command_list_begin", ""},
                                     {"addid \"a\"", ""},
                                     {"addid \"b\"", ""},
                                     {"command_list_end", "Id: 7\nACK [50@1] {addid} No such directory\n"}}),
                          mpdManners());
    Mpd mpd(addressOf(server));
    std::string ids;
    EXPECT_EQ(failureOf([&] {
                  mpd.askAll({{"addid", "a"}, {"addid", "b"}},
                             [&](std::string_view, std::string_view value) { ids += value; });
              }),
              "refused: The music server refuses: No such directory");
    EXPECT_EQ(ids, "7");
    EXPECT_TRUE(mpd.usable());
}

TEST(Mpd, IsAwayWhereNobodyListens) {
    const tests::LoopbackSocket socket;
    bridge::MpdAddress address;
    address.host = "127.0.0.1";
    address.port = static_cast<unsigned>(socket.port());
    EXPECT_EQ(failureOf([&] { const Mpd mpd(address); }), "away: The music server can't be reached.");
    address.host = "/nowhere/mpd.socket";
    EXPECT_EQ(failureOf([&] { const Mpd mpd(address); }), "away: The music server can't be reached.");
}

TEST(Mpd, IsAwayWhereNobodyGreets) {
    LoopbackServer server([](Client&, const std::string&) { return true; }, {"", "\n"});
    EXPECT_EQ(failureOf([&] { const Mpd mpd(addressOf(server, soon)); }),
              "away: The music server does not answer in time.");
}

TEST(Mpd, IsAwayWhereAnotherProtocolIsSpoken) {
    LoopbackServer server([](Client&, const std::string&) { return true; },
                          {"220 mail.example ESMTP\r\n", "\n"});
    EXPECT_EQ(failureOf([&] { const Mpd mpd(addressOf(server)); }),
              "away: The music server's answer can't be understood.");
}

TEST(Mpd, IsAwayWhenItHangs) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.send("volume: 5\n");
            client.keepWaiting();
            return false;
        },
        mpdManners());
    Mpd mpd(addressOf(server, soon));
    EXPECT_EQ(failureOf([&] { mpd.tell({"status"}); }), "away: The music server does not answer in time.");
    EXPECT_FALSE(mpd.usable());
}

TEST(Mpd, IsAwayWhenItDribblesForEver) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.sendEndlessly("volume: 5\n");
            return false;
        },
        mpdManners());
    Mpd mpd(addressOf(server, soon));
    EXPECT_EQ(failureOf([&] { mpd.tell({"status"}); }), "away: The music server does not answer in time.");
    EXPECT_FALSE(mpd.usable());
}

TEST(Mpd, IsAwayWhenItSaysTooMuch) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.sendEndlessly("Title: " + std::string(2000, 'x') + "\n");
            return false;
        },
        mpdManners());
    Mpd mpd(addressOf(server));
    EXPECT_EQ(failureOf([&] { mpd.tell({"status"}); }), "away: The music server's answer is too long.");
    EXPECT_FALSE(mpd.usable());
}

TEST(Mpd, IsAwayWhenALineHasNoEnd) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.sendEndlessly("xxxxxxxxxxxxxxxx");
            return false;
        },
        mpdManners());
    Mpd mpd(addressOf(server));
    EXPECT_TRUE(failureOf([&] { mpd.tell({"status"}); }).starts_with("away: "));
    EXPECT_FALSE(mpd.usable());
}

TEST(Mpd, IsAwayWhenItSendsGarbage) {
    LoopbackServer server(answering({{"status", "\x01\xff garbage\n"}}), mpdManners());
    Mpd mpd(addressOf(server));
    EXPECT_EQ(failureOf([&] { mpd.tell({"status"}); }),
              "away: The music server's answer can't be understood.");
    EXPECT_FALSE(mpd.usable());
}

TEST(Mpd, SendsNothingAgainToAServerThatWentAway) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.send("volume: 5\n");
            return false;
        },
        mpdManners());
    Mpd mpd(addressOf(server));
    EXPECT_TRUE(failureOf([&] { mpd.tell({"stop"}); }).starts_with("away: "));
    EXPECT_FALSE(mpd.usable());
    EXPECT_EQ(tests::linesTo(server), std::vector<std::string>{"stop"});
}

TEST(Mpd, KnowsThatTheServerHasClosedTheConnection) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.send("OK\n");
            return false;
        },
        mpdManners());
    Mpd mpd(addressOf(server));
    mpd.tell({"status"});
    EXPECT_TRUE(tests::comesTrue([&] { return !mpd.usable(); }));
}

TEST(Mpd, ClosesBehindAListenerThatThrows) {
    LoopbackServer server(answering({{"status", "a: b\nOK\n"}}), mpdManners());
    Mpd mpd(addressOf(server));
    EXPECT_THROW(
        mpd.ask({"status"}, [](std::string_view, std::string_view) { throw std::runtime_error("x"); }),
        std::runtime_error);
    EXPECT_FALSE(mpd.usable());
}

} // namespace
