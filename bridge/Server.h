// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Guard.h"
#include "bridge/HttpServer.h"
#include "bridge/MusicServer.h"
#include "bridge/Options.h"
#include "bridge/SocketFile.h"

#include <httplib.h>

#include <functional>
#include <optional>
#include <string>

namespace bridge {

/** The commands over HTTP. Every answer is a document, whatever was asked. */
class Server {
public:
    /** Takes the address; nobody is answered yet. @throws util::Exception when it can't be had */
    explicit Server(const Options& options);

    /** Where it listens, for people. */
    [[nodiscard]] const std::string& place() const noexcept { return place_; }

    /**
     * Answers until stop() is called, and the requests that were being answered then are through.
     * @param ready called once, when stop() has an effect
     * @throws util::Exception when it can't go on
     */
    void run(const std::function<void()>& ready);

    /** May be called by another thread, once. */
    void stop();

private:
    void bind(const Options& options);
    void setUp();
    [[nodiscard]] httplib::Server::HandlerResponse admit(const httplib::Request& request,
                                                         httplib::Response& response) const;
    void answer(const httplib::Request& request, httplib::Response& response,
                const httplib::ContentReader& read);

    Guard guard_;
    MusicServer music_;
    std::optional<SocketFile> file_;
    HttpServer http_;
    std::string place_;
};

} // namespace bridge
