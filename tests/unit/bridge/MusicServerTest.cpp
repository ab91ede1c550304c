// SPDX-License-Identifier: MIT
#include "bridge/MusicServer.h"

#include "tests/unit/Waiting.h"
#include "tests/unit/bridge/FakeMpd.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

namespace {

using bridge::Failure;
using bridge::Mpd;
using bridge::MusicServer;
using tests::addressOf;
using tests::answering;
using tests::Client;
using tests::LoopbackServer;
using tests::mpdManners;

constexpr std::chrono::seconds soon{1};

void askStatus(MusicServer& music) {
    music.with([](Mpd& mpd) { mpd.tell({"status"}); });
}

TEST(MusicServer, ConnectsWithTheFirstCommandAndKeepsTheConnection) {
    LoopbackServer server(answering({{"status", "OK\n"}}), mpdManners());
    MusicServer music(addressOf(server));
    EXPECT_TRUE(server.connections().empty());
    askStatus(music);
    askStatus(music);
    EXPECT_EQ(server.connections(), (std::vector<std::vector<std::string>>{{"status\n", "status\n"}}));
}

TEST(MusicServer, ConnectsAnewWhenMpdHasClosedTheConnection) {
    LoopbackServer server(
        [](Client& client, const std::string&) {
            client.send("OK\n");
            return false;
        },
        mpdManners());
    MusicServer music(addressOf(server));
    music.with([](Mpd& mpd) {
        mpd.tell({"status"});
        EXPECT_TRUE(tests::comesTrue([&] { return !mpd.usable(); }));
    });
    askStatus(music);
    EXPECT_EQ(server.connections().size(), 2U);
}

TEST(MusicServer, ConnectsAnewBehindAFailure) {
    std::atomic<int> commands = 0;
    LoopbackServer server(
        [&](Client& client, const std::string&) {
            client.send(++commands == 1 ? "garbage\n" : "OK\n");
            return true;
        },
        mpdManners());
    MusicServer music(addressOf(server));
    EXPECT_THROW(askStatus(music), Failure);
    askStatus(music);
    EXPECT_EQ(server.connections().size(), 2U);
}

TEST(MusicServer, KeepsTheConnectionBehindARefusal) {
    LoopbackServer server(answering({{"status", "OK\n"}}), mpdManners());
    MusicServer music(addressOf(server));
    EXPECT_THROW(music.with([](Mpd& mpd) { mpd.tell({"next"}); }), bridge::Refused);
    askStatus(music);
    EXPECT_EQ(server.connections().size(), 1U);
}

TEST(MusicServer, IsBusyForWhoWaitsTooLong) {
    LoopbackServer server(answering({{"status", "OK\n"}}), mpdManners());
    MusicServer music(addressOf(server, soon));
    std::promise<void> begun;
    std::promise<void> end;
    const auto other = std::async(std::launch::async, [&] {
        music.with([&](Mpd&) {
            begun.set_value();
            end.get_future().wait();
        });
    });
    begun.get_future().wait();
    try {
        askStatus(music);
        ADD_FAILURE() << "did not wait for its turn";
    } catch (const Failure& e) {
        EXPECT_EQ(e.code(), bridge::ErrorCode::away);
        EXPECT_STREQ(e.what(), "The music server is busy.");
    }
    end.set_value();
    other.wait();
    EXPECT_TRUE(tests::linesTo(server).empty());
}

} // namespace
