// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Mpd.h"
#include "tests/unit/net/LoopbackServer.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/** What a fake MPD answers to a line: a text, nothing, or the end of the connection. */
using MpdHandler = LoopbackServer::Handler;

inline Manners mpdManners() { return {"OK MPD 0.23.5\n", "\n"}; }

/** A handler that knows the given lines, and refuses all others. */
inline MpdHandler answering(std::map<std::string, std::string> answers) {
    return [answers = std::move(answers)](Client& client, const std::string& line) {
        const auto known = answers.find(line.substr(0, line.size() - 1));
        client.send(known == answers.end() ? "ACK [5@0] {} unknown command\n" : known->second);
        return true;
    };
}

inline bridge::MpdAddress addressOf(const LoopbackServer& server,
                                    std::chrono::seconds timeout = std::chrono::seconds(60)) {
    return {.host = "127.0.0.1",
            .port = static_cast<unsigned>(server.port()),
            .password = "",
            .timeout = timeout};
}

/** All lines that were sent to the server, over any connection. */
inline std::vector<std::string> linesTo(LoopbackServer& server) {
    std::vector<std::string> all;
    for (const auto& connection : server.connections())
        for (const std::string& line : connection)
            all.push_back(line.substr(0, line.size() - 1));
    return all;
}

} // namespace tests
