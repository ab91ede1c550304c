// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tests {

/** A socket bound to a free port of 127.0.0.1. It refuses connections until somebody calls listen() on it. */
class LoopbackSocket {
public:
    LoopbackSocket() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (!socket_ || ::bind(get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            ::getsockname(get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
            throw std::runtime_error("no socket");
        port_ = ntohs(address.sin_port);
    }
    [[nodiscard]] int get() const { return socket_.get(); }
    [[nodiscard]] std::string url(std::string_view path) const {
        return fmt::format("http://127.0.0.1:{}{}", port_, path);
    }
    [[nodiscard]] int port() const { return port_; }

private:
    util::FileDescriptor socket_;
    int port_ = 0;
};

/** A connected client, for a handler of LoopbackServer. It is valid only during the handler's call. */
class Client {
public:
    /** @param end the text that ends a request's head */
    Client(int socket, int stop, std::string_view end) : socket_(socket), stop_(stop), end_(end) {}

    /** The head of the next request; empty when the client has disconnected or the server is stopping. */
    std::string readHead() {
        std::string head;
        std::array<char, 1> next{};
        while (!head.ends_with(end_)) {
            if (!readable() || ::recv(socket_, next.data(), 1, 0) != 1) return "";
            head += next[0];
        }
        return head;
    }

    /** The body of a request with a Content-Length; shorter when the client disconnects. */
    std::string readBody(const std::string& head) {
        constexpr std::string_view name = "\r\nContent-Length: ";
        const std::size_t announced = head.find(name);
        std::string body;
        std::array<char, 65536> next{};
        const std::size_t size =
            announced == std::string::npos ? 0 : std::stoul(head.substr(announced + name.size()));
        while (body.size() < size && readable()) {
            const ssize_t got = ::recv(socket_, next.data(), std::min(next.size(), size - body.size()), 0);
            if (got <= 0) break;
            body.append(next.data(), static_cast<std::size_t>(got));
        }
        return body;
    }

    /** @return false when the client has disconnected */
    [[nodiscard]] bool trySend(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t sent = ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
            if (sent <= 0) return false;
            text.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }
    void send(std::string_view text) const { static_cast<void>(trySend(text)); }

    void sendEndlessly(std::string_view text) const {
        while (trySend(text)) {
        }
    }

    /** Sends nothing until the client gives up. */
    void keepWaiting() {
        while (!readHead().empty()) {
        }
    }

private:
    [[nodiscard]] bool readable() const {
        std::array<pollfd, 2> waiting{{{socket_, POLLIN, 0}, {stop_, POLLIN, 0}}};
        return ::poll(waiting.data(), waiting.size(), -1) > 0 && waiting[1].revents == 0;
    }

    int socket_;
    int stop_;
    std::string_view end_;
};

/** The server's greeting, and the text that ends a request. The default is HTTP. */
struct Manners {
    std::string greeting;
    std::string requestEnd = "\r\n\r\n";
};

/**
 * A server on 127.0.0.1; it speaks HTTP unless other manners are given. The handler answers one request and
 * returns true to keep the connection for the next one. Each connection has its own thread, and the handler
 * runs there.
 */
class LoopbackServer {
public:
    using Handler = std::function<bool(Client& client, const std::string& requestHead)>;

    explicit LoopbackServer(Handler handler, Manners manners = {})
        : handler_(std::move(handler)), manners_(std::move(manners)), stop_(::eventfd(0, EFD_CLOEXEC)) {
        if (!stop_ || ::listen(socket_.get(), 128) != 0) throw std::runtime_error("no server");
        thread_ = std::thread([this] { serve(); });
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;
    ~LoopbackServer() {
        ::eventfd_write(stop_.get(), 1);
        thread_.join();
    }

    [[nodiscard]] std::string url(std::string_view path) const { return socket_.url(path); }
    [[nodiscard]] int port() const { return socket_.port(); }

    /** The heads of all requests so far, one list per connection. */
    [[nodiscard]] std::vector<std::vector<std::string>> connections() {
        const std::lock_guard lock(mutex_);
        return connections_;
    }

    /** How many connections the server has closed so far. */
    [[nodiscard]] int closed() const { return closed_; }

private:
    void serve() {
        std::vector<std::jthread> conversations;
        for (;;) {
            std::array<pollfd, 2> waiting{{{socket_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
            if (::poll(waiting.data(), waiting.size(), -1) <= 0 || waiting[1].revents != 0) return;
            util::FileDescriptor accepted(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            note([&] { connections_.emplace_back(); });
            conversations.emplace_back([this, number = conversations.size()](
                                           util::FileDescriptor socket) { talk(std::move(socket), number); },
                                       std::move(accepted));
        }
    }

    void talk(util::FileDescriptor socket, std::size_t number) {
        answerAll(socket, number);
        socket = util::FileDescriptor();
        ++closed_;
    }

    void answerAll(const util::FileDescriptor& socket, std::size_t number) {
        Client client(socket.get(), stop_.get(), manners_.requestEnd);
        client.send(manners_.greeting);
        for (std::string head = client.readHead(); !head.empty(); head = client.readHead()) {
            note([&] { connections_[number].push_back(head); });
            if (!handler_(client, head)) break;
        }
    }

    template <typename Change>
    void note(Change change) {
        const std::lock_guard lock(mutex_);
        change();
    }

    Handler handler_;
    Manners manners_;
    std::atomic<int> closed_ = 0;
    LoopbackSocket socket_;
    util::FileDescriptor stop_;
    std::mutex mutex_;
    std::vector<std::vector<std::string>> connections_; // guarded by mutex_
    std::thread thread_;
};

/** An HTTP answer with its length, for a server that closes the connection afterwards. */
inline std::string httpAnswer(std::string_view body, std::string_view status = "200 OK",
                              std::string_view headers = "Content-Type: image/png\r\n") {
    return fmt::format("HTTP/1.1 {}\r\n{}Content-Length: {}\r\nConnection: close\r\n\r\n{}", status, headers,
                       body.size(), body);
}

inline std::string httpRedirect(std::string_view location) {
    return httpAnswer("moved", "302 Found", fmt::format("Location: {}\r\n", location));
}

/** The path in the first line of a request. */
inline std::string pathOf(const std::string& requestHead) {
    const std::size_t start = requestHead.find(' ') + 1;
    return requestHead.substr(start, requestHead.find(' ', start) - start);
}

/** A handler that gives the same answer to every request. */
inline LoopbackServer::Handler always(std::string answer) {
    return [answer = std::move(answer)](Client& client, const std::string& head) {
        (void)client.readBody(head);
        client.send(answer);
        return false;
    };
}

/** A handler that answers with `body` and keeps the connection. */
inline LoopbackServer::Handler alwaysKeeping(const std::string& body) {
    return [answer = fmt::format("HTTP/1.1 200 OK\r\nContent-Length: {}\r\n\r\n{}", body.size(), body)](
               Client& client, const std::string&) {
        client.send(answer);
        return true;
    };
}

} // namespace tests
