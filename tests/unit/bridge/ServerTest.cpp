// SPDX-License-Identifier: MIT
#include "bridge/Server.h"

#include "bridge/Command.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/bridge/FakeMpd.h"
#include "util/Exception.h"
#include "util/FileDescriptor.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <filesystem>
#include <future>
#include <string>
#include <string_view>
#include <thread>

namespace {

using bridge::Options;
using tests::LoopbackServer;

/** A bridge that answers as long as the object lives. */
class Running {
public:
    explicit Running(const Options& options) : server_(options) {
        std::promise<void> ready;
        thread_ = std::thread([this, &ready] { server_.run([&] { ready.set_value(); }); });
        ready.get_future().wait();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
        server_.stop();
        thread_.join();
    }

    [[nodiscard]] const std::string& place() const { return server_.place(); }
    [[nodiscard]] int port() const { return std::stoi(place().substr(place().rfind(':') + 1)); }

private:
    bridge::Server server_;
    std::thread thread_;
};

Options anyPort(const LoopbackServer& mpd) {
    Options options;
    options.port = 0;
    options.mpd = tests::addressOf(mpd);
    return options;
}

/** What comes back for some bytes until the bridge closes the connection. */
std::string answerTo(int port, std::string_view bytes) {
    const util::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) break;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    std::string answer;
    std::array<char, 4096> part{};
    for (ssize_t got = 1; got > 0;) {
        got = ::recv(socket.get(), part.data(), part.size(), 0);
        if (got > 0) answer.append(part.data(), static_cast<std::size_t>(got));
    }
    return answer;
}

std::string post(std::string_view body, std::string_view headers = "Connection: close\r\n") {
    return fmt::format(
        "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n{}Content-Length: {}\r\n\r\n{}",
        headers, body.size(), body);
}

bool isError(const std::string& answer, int status, int code) {
    const std::string body = answer.substr(answer.find("\r\n\r\n") + 4);
    return answer.starts_with(fmt::format("HTTP/1.1 {} ", status)) &&
           body.starts_with(
               fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Error code=\"{}\">", code)) &&
           body.ends_with("</Error>\n") &&
           answer.find("Content-Type: text/xml; charset=utf-8\r\n") != std::string::npos;
}

class ServerTest : public testing::Test {
protected:
    LoopbackServer mpd_{tests::answering({{"status", "state: play\nOK\n"}, {"stop", "OK\n"}}),
                        tests::mpdManners()};
    Running server_{anyPort(mpd_)};
};
using Server = ServerTest;

TEST_F(Server, AnswersCommandsOnAnyPath) {
    const std::string command = post("<GetPlayerState/>");
    const std::string answer = answerTo(server_.port(), command);
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << answer;
    EXPECT_NE(answer.find("Content-Type: text/xml; charset=utf-8\r\n"), std::string::npos);
    EXPECT_NE(answer.find("<State>playing</State>"), std::string::npos);
    const std::string elsewhere = "POST /some/%0A/path?x=y" + command.substr(command.find(" HTTP"));
    EXPECT_TRUE(answerTo(server_.port(), elsewhere).starts_with("HTTP/1.1 200 OK\r\n"));
}

TEST_F(Server, KeepsAConnectionForManyCommands) {
    httplib::Client client("127.0.0.1", server_.port());
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    client.Post("/", "<GetPlayerState/>", "text/xml");
    const auto socket = client.socket();
    for (int i = 0; i < 20; ++i) {
        const auto answer = client.Post("/", "<GetPlayerState/>", "application/xml; charset=utf-8");
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 200);
        EXPECT_EQ(client.socket(), socket);
    }
    client.stop();
}

TEST_F(Server, AnswersWithAnErrorWhateverIsWrong) {
    const int port = server_.port();
    EXPECT_TRUE(isError(answerTo(port, post("<Dance/>")), 200, -2));
    EXPECT_TRUE(isError(answerTo(port, post("")), 200, -1));
    EXPECT_TRUE(isError(answerTo(port, "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
                                       "Connection: close\r\n\r\n"),
                        200, -1));
    EXPECT_TRUE(isError(answerTo(port, "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"), 405, -7));
    EXPECT_TRUE(isError(answerTo(port, "OPTIONS / HTTP/1.1\r\nHost: localhost\r\n\r\n"), 405, -7));
    EXPECT_TRUE(isError(answerTo(port, "DANCE / HTTP/1.1\r\nHost: localhost\r\n\r\n"), 400, -7));
    EXPECT_TRUE(isError(answerTo(port, "\x01\x02\r\n\r\n"), 400, -7));
    EXPECT_TRUE(isError(answerTo(port, "GET /" + std::string(9000, 'a') + " HTTP/1.1\r\n\r\n"), 414, -7));
    EXPECT_TRUE(isError(answerTo(port, post("<Stop/>", "Origin: http://evil.example\r\n")), 403, -7));
    EXPECT_TRUE(isError(answerTo(port, post("<Stop/>", "Range: bytes=x\r\n")), 416, -7));
    EXPECT_TRUE(isError(answerTo(port, "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n"
                                       "Content-Type: multipart/form-data; boundary=x\r\n\r\nab"),
                        415, -7));
    EXPECT_TRUE(tests::linesTo(mpd_).empty());
}

TEST_F(Server, TakesChunkedCommands) {
    const std::string head = "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
                             "Transfer-Encoding: chunked\r\nConnection: close\r\n\r\n";
    EXPECT_NE(answerTo(server_.port(), head + "5\r\n<GetP\r\nc\r\nlayerState/>\r\n0\r\n\r\n").find("playing"),
              std::string::npos);
    EXPECT_TRUE(isError(answerTo(server_.port(), head + "zz\r\n<Stop/>\r\n0\r\n\r\n"), 400, -7));
    EXPECT_EQ(tests::linesTo(mpd_), std::vector<std::string>{"status"});
}

TEST_F(Server, TakesCommandsUpToALimit) {
    const std::string padding(bridge::Command::maxBytes - 7, ' ');
    EXPECT_TRUE(answerTo(server_.port(), post("<Stop/>" + padding)).starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_TRUE(isError(answerTo(server_.port(), post("<Stop/>" + padding + " ")), 413, -7));
    EXPECT_TRUE(isError(answerTo(server_.port(), post(std::string(3'000'000, ' '))), 413, -7));
    const std::string chunk = "10000\r\n" + std::string(0x10000, ' ') + "\r\n";
    EXPECT_TRUE(
        isError(answerTo(server_.port(), "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
                                         "Transfer-Encoding: chunked\r\n\r\n" +
                                             chunk + "7\r\n<Stop/>\r\n0\r\n\r\n"),
                413, -7));
    EXPECT_EQ(tests::linesTo(mpd_), (std::vector<std::string>{"stop", "status"}));
}

TEST_F(Server, AnswersAsAWholeWhateverPartIsAskedFor) {
    const std::string answer =
        answerTo(server_.port(), post("<GetPlayerState/>", "Range: bytes=0-3,1-2\r\nConnection: close\r\n"));
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << answer;
    EXPECT_TRUE(answer.ends_with("</PlayerState>\n"));
}

// The hidden command stands where the next request would be read from: behind the 4096 bytes that the library
// takes at once, and forgets.
TEST_F(Server, TakesNoCommandOutOfARefusedBody) {
    const std::string hidden = post("<Stop/>");
    const std::string tooLong(9000, 'a');
    const char* const length = "Content-Length: 20000\r\n\r\n";
    for (const std::string& head :
         {fmt::format("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/plain\r\n{}", length),
          fmt::format("POST /{} HTTP/1.1\r\nHost: localhost\r\n{}", tooLong, length),
          fmt::format("POST / HTTP/1.1\r\nX: {}\r\n", tooLong),
          fmt::format("GET / HTTP/1.1\r\nHost: localhost\r\n{}", length),
          fmt::format("HEAD / HTTP/1.1\r\nHost: localhost\r\n{}", length)}) {
        const std::string padding(4096 - head.size() % 4096, 'x');
        const std::string answer = answerTo(server_.port(), head + padding + hidden);
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 4")) << answer;
        EXPECT_NE(answer.find("Connection: close\r\n"), std::string::npos);
        EXPECT_EQ(answer.find("HTTP/1.1 2"), std::string::npos);
    }
    EXPECT_TRUE(tests::linesTo(mpd_).empty());
}

TEST(ServerWithoutMpd, SaysThatItIsAway) {
    Options options;
    options.port = 0;
    const tests::LoopbackSocket nobody;
    options.mpd.host = "127.0.0.1";
    options.mpd.port = static_cast<unsigned>(nobody.port());
    const Running server(options);
    EXPECT_TRUE(isError(answerTo(server.port(), post("<Stop/>")), 503, -6));
    EXPECT_TRUE(isError(answerTo(server.port(), post("<Dance/>")), 200, -2));
}

TEST(ServerOnIpv6, SaysWhereItListens) {
    const LoopbackServer mpd(tests::answering({}), tests::mpdManners());
    Options options = anyPort(mpd);
    options.address = "::1";
    const Running server(options);
    EXPECT_TRUE(server.place().starts_with("[::1]:"));
    httplib::Client client("::1", server.port());
    const auto answer = client.Post("/", "<Dance/>", "text/xml");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
}

TEST(ServerOnATakenPort, SaysSo) {
    const LoopbackServer mpd(tests::answering({}), tests::mpdManners());
    Options options = anyPort(mpd);
    const Running server(options);
    options.port = server.port();
    EXPECT_THROW(const bridge::Server second(options), util::Exception);
}

TEST(ServerOnAUnixSocket, IsForItsOwnerAlone) {
    const tests::TemporaryFolder folder;
    const LoopbackServer mpd(tests::answering({}), tests::mpdManners());
    Options options = anyPort(mpd);
    options.socket = folder.path() / "bridge.socket";
    {
        const Running server(options);
        EXPECT_EQ(server.place(), options.socket);
        EXPECT_EQ(std::filesystem::status(options.socket).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        httplib::Client client(options.socket);
        client.set_address_family(AF_UNIX);
        const auto answer = client.Post("/", {{"Host", "anything"}}, "<Dance/>", "text/xml");
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 200);
        EXPECT_THROW(const bridge::Server second(options), util::Exception);
    }
    EXPECT_FALSE(std::filesystem::exists(options.socket));
}

} // namespace
