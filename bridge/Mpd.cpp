// SPDX-License-Identifier: MIT
#include "bridge/Mpd.h"

#include "bridge/Failure.h"
#include "bridge/Log.h"

#include <fmt/format.h>
#include <mpd/client.h>
#include <poll.h>

#include <cassert>
#include <cstddef>
#include <new>

namespace bridge {
namespace {

/** Ten thousand songs with all their tags take some 15 MB. */
constexpr std::size_t maxAnswerBytes = std::size_t{64} << 20U;

/** Gives a pair back to the connection that lent it. */
class Pair {
public:
    explicit Pair(mpd_connection& connection) : connection_(connection), pair_(mpd_recv_pair(&connection)) {}
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    ~Pair() {
        if (pair_ != nullptr) mpd_return_pair(&connection_, pair_);
    }

    [[nodiscard]] explicit operator bool() const noexcept { return pair_ != nullptr; }
    [[nodiscard]] std::string_view name() const noexcept { return pair_->name; }
    [[nodiscard]] std::string_view value() const noexcept { return pair_->value; }

private:
    mpd_connection& connection_;
    mpd_pair* pair_;
};

const char* sentenceFor(mpd_error error) {
    switch (error) {
    case MPD_ERROR_TIMEOUT:
        return "The music server does not answer in time.";
    case MPD_ERROR_RESOLVER:
    case MPD_ERROR_SYSTEM:
        return "The music server can't be reached.";
    case MPD_ERROR_CLOSED:
        return "The music server has closed the connection.";
    case MPD_ERROR_MALFORMED:
        return "The music server's answer can't be understood.";
    case MPD_ERROR_SUCCESS:
    case MPD_ERROR_OOM:
    case MPD_ERROR_ARGUMENT:
    case MPD_ERROR_STATE:
    case MPD_ERROR_SERVER:
        break;
    }
    return "The music server can't be talked to.";
}

} // namespace

void Mpd::Close::operator()(mpd_connection* connection) const noexcept { mpd_connection_free(connection); }

// libmpdclient wants milliseconds, but takes what is less than a second for microseconds.
Mpd::Mpd(const MpdAddress& address)
    : connection_(
          mpd_connection_new(address.host.c_str(), address.port,
                             static_cast<unsigned>(std::chrono::milliseconds(address.timeout).count()))),
      timeout_(address.timeout) {
    if (!connection_) throw std::bad_alloc();
    if (mpd_connection_get_error(connection_.get()) != MPD_ERROR_SUCCESS) fail();
    if (!address.password.empty()) tell({"password", address.password});
}

bool Mpd::usable() const noexcept {
    if (!connection_) return false;
    pollfd waiting{mpd_connection_get_fd(connection_.get()), POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 0;
}

void Mpd::ask(const MpdCommand& command, const PairSink& sink) {
    converse([&] {
        send(command);
        readAnswer(sink);
    });
}

void Mpd::tell(const MpdCommand& command) {
    ask(command, [](std::string_view, std::string_view) {});
}

void Mpd::askAll(const std::vector<MpdCommand>& commands, const PairSink& sink) {
    converse([&] {
        if (!mpd_command_list_begin(connection_.get(), false)) fail();
        for (const MpdCommand& command : commands)
            send(command);
        if (!mpd_command_list_end(connection_.get())) fail();
        readAnswer(sink);
    });
}

void Mpd::send(const MpdCommand& command) {
    assert(!command.empty() && command.size() <= 4);
    // The first null pointer ends the list.
    const auto word = [&](std::size_t at) { return at < command.size() ? command[at].c_str() : nullptr; };
    if (!mpd_send_command(connection_.get(), word(0), word(1), word(2), word(3), nullptr)) fail();
}

void Mpd::readAnswer(const PairSink& sink) {
    const auto deadline = std::chrono::steady_clock::now() + timeout_;
    std::size_t remaining = maxAnswerBytes;
    while (const Pair pair{*connection_}) {
        const std::size_t size = pair.name().size() + pair.value().size();
        if (size > remaining) throw Failure(ErrorCode::away, "The music server's answer is too long.");
        if (std::chrono::steady_clock::now() > deadline)
            throw Failure(ErrorCode::away, sentenceFor(MPD_ERROR_TIMEOUT));
        remaining -= size;
        sink(pair.name(), pair.value());
    }
    if (!mpd_response_finish(connection_.get())) fail();
}

void Mpd::fail() {
    const mpd_error error = mpd_connection_get_error(connection_.get());
    const std::string message = mpd_connection_get_error_message(connection_.get());
    if (error == MPD_ERROR_SERVER) {
        const mpd_server_error reason = mpd_connection_get_server_error(connection_.get());
        // Its answer has been read to the end, and the connection goes on.
        if (!mpd_connection_clear_error(connection_.get())) connection_.reset();
        throw Refused(message, reason == MPD_SERVER_ERROR_ARG);
    }
    if (error == MPD_ERROR_OOM) throw std::bad_alloc();
    logLine(fmt::format("the music server: {}", message));
    throw Failure(ErrorCode::away, sentenceFor(error));
}

template <typename Exchange>
void Mpd::converse(Exchange exchange) {
    try {
        exchange();
    } catch (const Refused&) {
        throw;
    } catch (...) { // what is left of the answer would be taken for that to the next command
        connection_.reset();
        throw;
    }
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result + "\"";
}

} // namespace bridge
