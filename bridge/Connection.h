// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <httplib.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

namespace bridge {

/** What all connections of a server share. */
struct Traffic {
    std::atomic<std::size_t> connections{0}; // that have a thread
    std::atomic<bool> ending{false};         // no more requests are taken
};

/** How long a client may take. */
struct Patience {
    std::chrono::milliseconds idle{5000};    // between two requests
    std::chrono::milliseconds brief{250};    // likewise, while all threads are taken
    std::chrono::milliseconds request{5000}; // until a request is there as a whole
    std::chrono::milliseconds answer{30'000};
    std::chrono::milliseconds rest{1000}; // for what is on its way behind a request that was refused
};

/**
 * A client's connection. Other than the HTTP library's own it limits how long a request may take as a whole,
 * and how large its head may be, and it lets go when the server ends. One thread at a time.
 */
class Connection final : public httplib::Stream {
public:
    /** How many have a thread at a time. An idle one keeps its thread, and so does a command that waits for
     * its turn: so many that a few of either keep nobody else out. */
    static constexpr std::size_t mostAtOnce = 16;

    /** Takes the socket over. `traffic` has to live longer. */
    Connection(int socket, Traffic& traffic, const Patience& patience = {});
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() override;

    /** Waits for the next request. False when there is none to come. */
    [[nodiscard]] bool awaitRequest();

    /** Passes over what the client still sends: it may listen only when it is through, and what arrived
     * unread would take the answer with it when the connection is closed. */
    void sendOff();

    [[nodiscard]] bool is_readable() const override { return false; } // only its own stream asks
    [[nodiscard]] bool is_writable() const override { return true; }
    /** Less than 0 when the time or the size of the request is used up. */
    ssize_t read(char* data, std::size_t size) override;
    ssize_t write(const char* data, std::size_t size) override;
    // Nobody here asks for addresses.
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    [[nodiscard]] socket_t socket() const override { return socket_.get(); }

private:
    using Clock = std::chrono::steady_clock;

    /** @param deadline asked for anew while it is waited */
    template <typename Deadline>
    [[nodiscard]] bool isReady(short events, Deadline deadline) const;
    ssize_t fill();

    util::FileDescriptor socket_;
    Traffic& traffic_;
    const Patience patience_;
    Clock::time_point deadline_;
    bool answering_ = false;
    std::size_t allowance_ = 0; // of bytes of this request
    std::array<char, 4096> buffer_{};
    std::size_t next_ = 0;   // in the buffer
    std::size_t filled_ = 0; // bytes of the buffer
};

} // namespace bridge
