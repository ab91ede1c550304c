// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct mpd_connection;

namespace bridge {

/** Where the music server is and how to be let in. */
struct MpdAddress {
    std::string host = "localhost"; // or the path of a Unix socket, or "@" and the name of an abstract one
    unsigned port = 6600;
    std::string password;            // none where it is empty
    std::chrono::seconds timeout{5}; // for connecting, and for each answer
};

/** A command of MPD's protocol and its arguments, up to three. */
using MpdCommand = std::vector<std::string>;

/** Called for each "name: value" of an answer; the views live as long as the call. */
using PairSink = std::function<void(std::string_view name, std::string_view value)>;

/**
 * A connection to MPD. A command is sent at most once. After a failure other than Refused the connection is
 * closed and not usable any more. One thread at a time.
 */
class Mpd {
public:
    /** Connects. @throws Failure when nobody answers there, or not as MPD does; Refused for the password */
    explicit Mpd(const MpdAddress& address);

    /** Whether a command may be sent. MPD never speaks unasked: if there is something to read, it has closed
     * the connection. */
    [[nodiscard]] bool usable() const noexcept;

    /**
     * Sends a command and reads its whole answer. What `sink` throws closes the connection. @throws Failure
     */
    void ask(const MpdCommand& command, const PairSink& sink);

    /** Sends a command whose answer is of no interest. @throws Failure */
    void tell(const MpdCommand& command);

    /**
     * Sends commands as one: MPD begins when it has them all, and stops at the first that it refuses. The
     * answers come in one. @throws Failure
     */
    void askAll(const std::vector<MpdCommand>& commands, const PairSink& sink);

private:
    void send(const MpdCommand& command);
    void readAnswer(const PairSink& sink);
    [[noreturn]] void fail();
    template <typename Exchange>
    void converse(Exchange exchange);

    struct Close {
        void operator()(mpd_connection* connection) const noexcept;
    };
    std::unique_ptr<mpd_connection, Close> connection_; // none after a failure
    std::chrono::seconds timeout_;
};

/** A text as it stands in a filter expression of MPD, between double quotes. */
[[nodiscard]] std::string quoted(std::string_view text);

} // namespace bridge
