// SPDX-License-Identifier: MIT
#include "bridge/Connection.h"

#include "util/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using bridge::Patience;
using bridge::Traffic;
using std::chrono::milliseconds;

constexpr milliseconds longTime(60'000);
constexpr milliseconds noTime(0);

/** A connection, and the other end of it. */
class Line {
public:
    explicit Line(Traffic& traffic, const Patience& patience = patient()) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        client = util::FileDescriptor(ends[0]);
        connection = std::make_unique<bridge::Connection>(ends[1], traffic, patience);
    }

    static Patience patient() { return {longTime, longTime, longTime, longTime, longTime}; }

    [[nodiscard]] bool send(std::string_view bytes) const {
        return ::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0;
    }

    [[nodiscard]] std::string read(std::size_t size) const {
        std::string bytes(size, ' ');
        const ssize_t got = connection->read(bytes.data(), size);
        return got < 0 ? "failed" : bytes.substr(0, static_cast<std::size_t>(got));
    }

    util::FileDescriptor client;
    std::unique_ptr<bridge::Connection> connection;
};

TEST(Connection, KeepsWhatCameWithTheRequestForTheNextOne) {
    Traffic traffic;
    const Line line(traffic);
    ASSERT_TRUE(line.send("onetwo"));
    ASSERT_TRUE(line.connection->awaitRequest());
    EXPECT_EQ(line.read(3), "one");
    ASSERT_TRUE(line.connection->awaitRequest());
    EXPECT_EQ(line.read(10), "two");
}

TEST(Connection, EndsWhereTheClientEndsIt) {
    Traffic traffic;
    Line line(traffic);
    ASSERT_TRUE(line.send("one"));
    line.client = util::FileDescriptor();
    ASSERT_TRUE(line.connection->awaitRequest());
    EXPECT_EQ(line.read(10), "one");
    EXPECT_EQ(line.read(10), "");
    EXPECT_FALSE(line.connection->awaitRequest());
}

TEST(Connection, WaitsLessForARequestWhileAllThreadsAreTaken) {
    Traffic traffic;
    Patience patience = Line::patient();
    patience.brief = noTime;
    const Line first(traffic, patience);
    std::vector<std::unique_ptr<Line>> others;
    while (traffic.connections < bridge::Connection::mostAtOnce)
        others.push_back(std::make_unique<Line>(traffic));
    EXPECT_FALSE(first.connection->awaitRequest());
    ASSERT_TRUE(first.send("one"));
    EXPECT_TRUE(first.connection->awaitRequest()) << "what is there is taken";
    others.clear();
    EXPECT_EQ(traffic.connections, 1U);
}

TEST(Connection, GivesARequestSomeTimeAsAWhole) {
    Traffic traffic;
    Patience patience = Line::patient();
    patience.request = milliseconds(200);
    const Line line(traffic, patience);
    ASSERT_TRUE(line.send("P"));
    ASSERT_TRUE(line.connection->awaitRequest());
    std::jthread trickle([&](const std::stop_token& stop) {
        while (!stop.stop_requested() && line.send("x"))
            std::this_thread::yield();
    });
    std::size_t got = 0;
    while (line.read(1) == "x" || got == 0)
        ++got;
    EXPECT_EQ(line.read(1), "failed");
    trickle.request_stop();
    while (::recv(line.connection->socket(), std::array<char, 4096>().data(), 4096, MSG_DONTWAIT) > 0)
        continue;
}

TEST(Connection, TakesNoRequestWithoutEnd) {
    Traffic traffic;
    const Line line(traffic);
    const std::jthread flood([&] {
        const std::string many(65536, 'x');
        while (line.send(many))
            continue;
    });
    ASSERT_TRUE(line.connection->awaitRequest());
    constexpr std::size_t enough = std::size_t{8} << 20U;
    std::size_t total = 0;
    for (std::string part; (part = line.read(4096)) != "failed" && total < enough;)
        total += part.size();
    EXPECT_GT(total, 65536U);
    EXPECT_LT(total, enough);
    ::shutdown(line.connection->socket(), SHUT_RDWR);
}

TEST(Connection, GivesAnAnswerSomeTimeAsAWhole) {
    Traffic traffic;
    Patience patience = Line::patient();
    patience.answer = milliseconds(50);
    const Line line(traffic, patience);
    const std::string many(65536, 'x');
    ssize_t written = 0;
    while (written >= 0) // nobody reads it
        written = line.connection->write(many.data(), many.size());
    EXPECT_LT(written, 0);
}

TEST(Connection, LetsGoWhenTheServerEnds) {
    Traffic traffic;
    const Line idle(traffic);
    const Line halfway(traffic);
    ASSERT_TRUE(halfway.send("P"));
    ASSERT_TRUE(halfway.connection->awaitRequest());
    ASSERT_EQ(halfway.read(1), "P");
    auto request = std::async(std::launch::async, [&] { return idle.connection->awaitRequest(); });
    auto rest = std::async(std::launch::async, [&] { return halfway.read(1); });
    traffic.ending = true;
    EXPECT_FALSE(request.get());
    EXPECT_EQ(rest.get(), "failed");
    EXPECT_FALSE(halfway.connection->awaitRequest());
}

TEST(Connection, SendsOffAClientThatListensOnlyWhenItIsThrough) {
    Traffic traffic;
    Line line(traffic);
    ASSERT_TRUE(line.send("request"));
    ASSERT_TRUE(line.connection->awaitRequest());
    ASSERT_EQ(line.connection->write("no", 2), 2);
    auto client = std::async(std::launch::async, [&] {
        const std::string many(65536, 'x');
        for (int i = 0; i < 64; ++i)
            if (!line.send(many)) return std::string("was cut off");
        std::string answer(10, ' ');
        answer.resize(static_cast<std::size_t>(::recv(line.client.get(), answer.data(), answer.size(), 0)));
        line.client = util::FileDescriptor();
        return answer;
    });
    line.connection->sendOff();
    line.connection.reset();
    EXPECT_EQ(client.get(), "no");
}

} // namespace
