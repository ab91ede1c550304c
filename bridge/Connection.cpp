// SPDX-License-Identifier: MIT
#include "bridge/Connection.h"

#include "bridge/Command.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace bridge {
namespace {

/** With its head, and with what stands around the chunks of its body. */
constexpr std::size_t mostRequestBytes = 16 * Command::maxBytes;

} // namespace

Connection::Connection(int socket, Traffic& traffic, const Patience& patience)
    : socket_(socket), traffic_(traffic), patience_(patience) {
    ++traffic_.connections;
}

Connection::~Connection() { --traffic_.connections; }

bool Connection::awaitRequest() {
    if (traffic_.ending) return false;
    if (next_ == filled_) {
        const Clock::time_point start = Clock::now();
        const auto deadline = [&] {
            return start + (traffic_.connections < mostAtOnce ? patience_.idle : patience_.brief);
        };
        if (!isReady(POLLIN, deadline) || fill() <= 0) return false;
    }
    deadline_ = Clock::now() + patience_.request;
    allowance_ = mostRequestBytes;
    answering_ = false;
    return true;
}

void Connection::sendOff() {
    ::shutdown(socket_.get(), SHUT_WR);
    deadline_ = Clock::now() + patience_.rest;
    while (Clock::now() < deadline_ && isReady(POLLIN, [this] { return deadline_; }) && fill() > 0)
        continue;
}

ssize_t Connection::read(char* data, std::size_t size) {
    if (allowance_ == 0 || Clock::now() >= deadline_) return -1;
    if (next_ == filled_) {
        if (!isReady(POLLIN, [this] { return deadline_; })) return -1;
        const ssize_t got = fill();
        if (got <= 0) return got;
    }
    const std::size_t taken = std::min({size, filled_ - next_, allowance_});
    std::copy_n(buffer_.data() + next_, taken, data);
    next_ += taken;
    allowance_ -= taken;
    return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* data, std::size_t size) {
    if (!answering_) deadline_ = Clock::now() + patience_.answer;
    answering_ = true;
    if (Clock::now() >= deadline_ || !isReady(POLLOUT, [this] { return deadline_; })) return -1;
    const ssize_t sent = ::send(socket_.get(), data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    return sent < 0 && errno == EAGAIN ? 0 : sent;
}

template <typename Deadline>
bool Connection::isReady(short events, Deadline deadline) const {
    constexpr std::chrono::milliseconds glance(100); // between two looks at what the others do
    pollfd waiting{socket_.get(), events, 0};
    for (;;) {
        const int ready = ::poll(&waiting, 1, static_cast<int>(glance.count()));
        if (ready > 0) return true;
        const bool over = events == POLLIN && traffic_.ending;
        if ((ready < 0 && errno != EINTR) || over || Clock::now() >= deadline()) return false;
    }
}

ssize_t Connection::fill() {
    next_ = 0;
    filled_ = 0;
    const ssize_t got = ::recv(socket_.get(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
    if (got > 0) filled_ = static_cast<std::size_t>(got);
    return got;
}

} // namespace bridge
