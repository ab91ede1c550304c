// SPDX-License-Identifier: MIT
#include "bridge/HttpServer.h"

#include "bridge/Log.h"

#include <fmt/format.h>

#include <exception>
#include <memory>

namespace bridge {

HttpServer::HttpServer() {
    new_task_queue = [] {
        return std::make_unique<httplib::ThreadPool>(Connection::mostAtOnce).release(); // it takes it over
    };
}

void HttpServer::end() {
    traffic_.ending = true;
    stop();
}

// It is called by a thread, which an exception would end, and the program with it.
bool HttpServer::process_and_close_socket(socket_t socket) {
    try {
        Connection connection(socket, traffic_);
        bool last = false;
        // An answer to HEAD that refuses looks to the library like any other, but a body may follow.
        const auto look = [&](const httplib::Request& request) { last = request.method == "HEAD"; };
        // Newer releases of the library want the addresses of both ends. Nobody here asks for them.
        const auto process = [&](auto& stream, bool& closing) {
            if constexpr (requires { process_request(stream, false, closing, look); })
                return process_request(stream, false, closing, look);
            else
                return process_request(stream, {}, 0, {}, 0, false, closing, look);
        };
        while (!last && connection.awaitRequest()) {
            bool closing = false;
            if (!process(connection, closing) || closing) last = true;
        }
        if (last) connection.sendOff();
        return true;
    } catch (const std::exception& e) {
        logLine(fmt::format("a connection failed: {}", e.what()));
        return false;
    }
}

} // namespace bridge
