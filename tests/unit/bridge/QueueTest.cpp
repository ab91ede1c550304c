// SPDX-License-Identifier: MIT
#include "bridge/Queue.h"

#include "bridge/Failure.h"
#include "tests/unit/bridge/FakeMpd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using bridge::Mpd;
using bridge::Song;
using tests::Client;
using tests::LoopbackServer;

std::vector<Song> songs() {
    std::vector<Song> three(3);
    three[0].file = "a";
    three[1].file = "b \"2\"";
    three[2].file = "c";
    return three;
}

using Lines = std::vector<std::string>;
const Lines additions = {"command_list_begin", "addid \"a\"", R"(addid "b \"2\"")", "addid \"c\"",
                         "command_list_end"};

/** Answers to the ends of lists, one after the other. */
tests::MpdHandler answeringLists(std::vector<std::string> answers) {
    return [answers = std::move(answers), next = std::size_t{0}](Client& client,
                                                                 const std::string& line) mutable {
        if (line == "command_list_end\n") client.send(answers.at(next++));
        return true;
    };
}

TEST(Queue, TakesAllSongsAtOnce) {
    LoopbackServer server(answeringLists({"Id: 1\nId: 2\nId: 3\nOK\n"}), tests::mpdManners());
    Mpd mpd(tests::addressOf(server));
    bridge::addToQueue(mpd, songs());
    EXPECT_EQ(tests::linesTo(server), additions);
}

TEST(Queue, HasNoneOfThemWhenMpdRefusesOne) {
    LoopbackServer server(answeringLists({"Id: 11\nId: 12\nACK [51@2] {addid} playlist is full\n", "OK\n"}),
                          tests::mpdManners());
    Mpd mpd(tests::addressOf(server));
    try {
        bridge::addToQueue(mpd, songs());
        ADD_FAILURE() << "not refused";
    } catch (const bridge::Refused& e) {
        EXPECT_STREQ(e.what(), "The music server refuses: playlist is full");
    }
    Lines expected = additions;
    expected.insert(expected.end(),
                    {"command_list_begin", "deleteid \"11\"", "deleteid \"12\"", "command_list_end"});
    EXPECT_EQ(tests::linesTo(server), expected);
    EXPECT_TRUE(mpd.usable());
}

TEST(Queue, IsLeftAloneWhenMpdRefusesTheFirst) {
    LoopbackServer server(answeringLists({"ACK [50@0] {addid} No such directory\n"}), tests::mpdManners());
    Mpd mpd(tests::addressOf(server));
    EXPECT_THROW(bridge::addToQueue(mpd, songs()), bridge::Refused);
    EXPECT_EQ(tests::linesTo(server), additions);
}

} // namespace
