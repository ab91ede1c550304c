// SPDX-License-Identifier: MIT
#pragma once

#include "tests/unit/net/LoopbackServer.h"

#include <fmt/format.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/** An appliance that gives the same reply to every command. */
class Appliance {
public:
    explicit Appliance(std::string reply = "<PlayerState/>") : reply_(std::move(reply)) {}

    [[nodiscard]] std::string url() const { return server_.url("/api"); }

    void setReply(std::string reply) {
        const std::lock_guard lock(mutex_);
        reply_ = std::move(reply);
    }

    /** So far. */
    [[nodiscard]] std::vector<std::string> commands() {
        const std::lock_guard lock(mutex_);
        return commands_;
    }
    [[nodiscard]] std::size_t connections() { return server_.connections().size(); }

private:
    void answer(Client& client, const std::string& head) {
        const std::string command = client.readBody(head);
        const std::lock_guard lock(mutex_);
        commands_.push_back(command);
        client.send(fmt::format("HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: {}\r\n\r\n{}",
                                reply_.size(), reply_));
    }

    std::mutex mutex_;
    std::string reply_;                 // guarded by mutex_
    std::vector<std::string> commands_; // guarded by mutex_
    LoopbackServer server_{[this](Client& client, const std::string& head) {
        answer(client, head);
        return true;
    }};
};

} // namespace tests
