// SPDX-License-Identifier: MIT
#include "bridge/Options.h"

#include "tests/unit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

using bridge::BadOptions;
using bridge::Options;

Options read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "sleevery-bridge");
    return bridge::readOptions(static_cast<int>(arguments.size()), arguments.data());
}

std::string complaintAbout(const std::vector<const char*>& arguments) {
    try {
        static_cast<void>(read(arguments));
    } catch (const BadOptions& e) {
        return e.what();
    }
    return "";
}

TEST(Options, ListenOnLoopbackIfTheySayNothing) {
    const Options options = read({});
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.port, 6680);
    EXPECT_EQ(options.socket, "");
    EXPECT_EQ(options.mpd.host, "localhost");
    EXPECT_EQ(options.mpd.port, 6600U);
    EXPECT_EQ(options.mpd.password, "");
    EXPECT_EQ(options.mpd.timeout, std::chrono::seconds(5));
    EXPECT_TRUE(options.hosts.empty());
}

TEST(Options, ListenWhereTheySay) {
    EXPECT_EQ(read({"--listen", "0.0.0.0:80"}).address, "0.0.0.0");
    EXPECT_EQ(read({"--listen", "0.0.0.0:80"}).port, 80);
    EXPECT_EQ(read({"--listen=[::1]:0"}).address, "::1");
    EXPECT_EQ(read({"--listen=[::1]:0"}).port, 0);
    EXPECT_EQ(read({"--socket", "/run/b"}).socket, "/run/b");
}

TEST(Options, RefuseAddressesThatAreNone) {
    for (const char* address :
         {"6680", "localhost:6680", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "::1:80",
          "[127.0.0.1]:80", "[::1]", ":80", "127.0.0.1:80x", "[]:1"})
        EXPECT_TRUE(complaintAbout({"--listen", address}).starts_with("--listen wants an IP address"))
            << address;
}

TEST(Options, FindMpdWhereTheySay) {
    EXPECT_EQ(read({"--mpd", "box:6601"}).mpd.host, "box");
    EXPECT_EQ(read({"--mpd", "box:6601"}).mpd.port, 6601U);
    EXPECT_EQ(read({"--mpd", "[::1]:6601"}).mpd.host, "::1");
    EXPECT_EQ(read({"--mpd", "/run/mpd/socket"}).mpd.host, "/run/mpd/socket");
    EXPECT_EQ(read({"--mpd", "@mpd"}).mpd.host, "@mpd");
    for (const char* mpd : {"box", "box:0", ":6600", "secret@box:6600", "box:x"})
        EXPECT_TRUE(complaintAbout({"--mpd", mpd}).starts_with("--mpd wants a host and a port")) << mpd;
}

TEST(Options, TakeThePasswordFromAFile) {
    const tests::TemporaryFolder folder;
    const std::string file = folder.path() / "password";
    std::ofstream(file) << "let me in \r\n";
    EXPECT_EQ(read({"--mpd-password-file", file.c_str()}).mpd.password, "let me in ");
    for (const char* content : {"", "\n", "a\nb\n"}) {
        std::ofstream(file, std::ios::trunc) << content;
        EXPECT_TRUE(complaintAbout({"--mpd-password-file", file.c_str()})
                        .ends_with("has to hold one line, the password."))
            << content;
    }
    const std::string nowhere = folder.path() / "nowhere";
    EXPECT_NE(complaintAbout({"--mpd-password-file", nowhere.c_str()}).find("can't be used"),
              std::string::npos);
}

TEST(Options, TakeTimeoutsAndNames) {
    EXPECT_EQ(read({"--mpd-timeout", "1"}).mpd.timeout, std::chrono::seconds(1));
    for (const char* seconds : {"0", "601", "x", "-1", "1.5"})
        EXPECT_NE(complaintAbout({"--mpd-timeout", seconds}), "") << seconds;
    EXPECT_EQ(read({"--host", "a", "--host", "b"}).hosts, (std::vector<std::string>{"a", "b"}));
}

TEST(Options, RefuseWhatTheyDoNotKnow) {
    EXPECT_NE(complaintAbout({"--nonsense"}), "");
    EXPECT_NE(complaintAbout({"argument"}), "");
    EXPECT_NE(complaintAbout({"--host", "a", "b"}), "");
    EXPECT_NE(complaintAbout({"--listen"}), "");
    EXPECT_NE(complaintAbout({"--listen", ""}), "");
    EXPECT_NE(complaintAbout({"--socket", ""}), "");
    EXPECT_NE(complaintAbout({"--listen", "127.0.0.1:1", "--socket", "/run/b"}), "");
    EXPECT_NE(complaintAbout({"--socket", std::string(108, 'x').c_str()}), "");
}

TEST(Options, AreExplained) {
    try {
        static_cast<void>(read({"--help"}));
        FAIL() << "not explained";
    } catch (const bridge::HelpWanted& e) {
        EXPECT_NE(std::string(e.what()).find("--mpd-password-file"), std::string::npos);
    }
}

} // namespace
