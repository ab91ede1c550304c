// SPDX-License-Identifier: MIT
#include "bridge/Server.h"

#include "bridge/Command.h"
#include "bridge/Commands.h"
#include "bridge/Failure.h"
#include "bridge/Log.h"
#include "bridge/Replies.h"
#include "util/Exception.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdlib>
#include <exception>

namespace bridge {
namespace {

constexpr std::size_t maxRequestsPerConnection =
    1'000'000; // is told to clients; the library's own choice is 5
constexpr const char* replyType = "text/xml; charset=utf-8";

void put(httplib::Response& response, int status, const std::string& document) {
    response.status = status;
    response.set_content(document, replyType);
}

void putError(httplib::Response& response, int status, ErrorCode code, const char* sentence) {
    put(response, status, errorReply(code, sentence));
}

int statusFor(ErrorCode code) { return code == ErrorCode::away ? 503 : 200; }

void putFailure(httplib::Response& response, const std::exception_ptr& thrown) {
    try {
        std::rethrow_exception(thrown);
    } catch (const Failure& e) {
        putError(response, statusFor(e.code()), e.code(), e.what());
        return;
    } catch (const std::exception& e) {
        logLine(fmt::format("a command failed: {}", e.what()));
    } catch (...) {
        logLine("a command failed for an unknown reason");
    }
    putError(response, 500, ErrorCode::unexpected, "The bridge has failed unexpectedly.");
}

/**
 * Has the connection closed behind the answer. A request that was refused may still have a body on the way,
 * which must not be read as the next request: a page of another site could hide a command in it.
 */
void closeBehind(httplib::Response& response) {
    const std::string document = std::move(response.body);
    response.body.clear();
    response.set_header("Connection", "close");
    response.headers.erase("Content-Type"); // the next line adds it anew
    response.set_content_provider(document.size(), replyType,
                                  [document](std::size_t start, std::size_t length, httplib::DataSink& sink) {
                                      sink.write(document.data() + start, length);
                                      return false; // what closes it
                                  });
}

/** For the answers of 400 and above, also those that the HTTP library gives by itself. */
void finishError(httplib::Response& response) {
    if (response.body.empty())
        putError(response, response.status, ErrorCode::notAllowed, "The request can't be understood.");
    closeBehind(response);
}

/** The library's own choice would let two programs listen on one port, without a word. */
void setSocketOptions(socket_t socket) {
    const int on = 1;
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
}

} // namespace

Server::Server(const Options& options) : guard_(options.hosts, !options.socket.empty()), music_(options.mpd) {
    setUp();
    bind(options);
}

void Server::setUp() {
    http_.set_socket_options(setSocketOptions);
    http_.set_tcp_nodelay(true);
    http_.set_keep_alive_max_count(maxRequestsPerConnection);
    http_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        return admit(request, response);
    });
    // Any path, with line ends in it, too.
    http_.Post(R"([\s\S]*)", [this](const httplib::Request& request, httplib::Response& response,
                                    const httplib::ContentReader& read) { answer(request, response, read); });
    http_.set_exception_handler([](const httplib::Request&, httplib::Response& response,
                                   std::exception_ptr thrown) { putFailure(response, thrown); });
    http_.set_error_handler(httplib::Server::Handler(
        [](const httplib::Request&, httplib::Response& response) { finishError(response); }));
}

httplib::Server::HandlerResponse Server::admit(const httplib::Request& request,
                                               httplib::Response& response) const {
    // Only answers to GET can be had in parts, but the library cuts any, and its request is no constant.
    const_cast<httplib::Request&>(request).ranges.clear();
    const std::optional<Objection> objection = guard_.objectionTo(request);
    if (!objection) return httplib::Server::HandlerResponse::Unhandled;
    if (objection->status == 405) response.set_header("Allow", "POST");
    putError(response, objection->status, ErrorCode::notAllowed, objection->sentence);
    return httplib::Server::HandlerResponse::Handled;
}

void Server::bind(const Options& options) {
    bool bound = false;
    if (options.socket.empty()) {
        const int port = options.port == 0 ? http_.bind_to_any_port(options.address) : options.port;
        bound = options.port == 0 ? port > 0 : http_.bind_to_port(options.address, port);
        const bool six = options.address.find(':') != std::string::npos;
        place_ = fmt::format("{}{}{}:{}", six ? "[" : "", options.address, six ? "]" : "", port);
    } else {
        file_.emplace(options.socket);
        http_.set_address_family(AF_UNIX);
        const mode_t before = ::umask(0177);
        bound = http_.bind_to_port(options.socket, 1); // the port is of no meaning here, but 0 is
        ::umask(before);
        place_ = options.socket;
    }
    if (!bound) throw util::Exception(fmt::format("Nothing can listen on {} now.", place_));
}

void Server::run(const std::function<void()>& ready) {
    // Asked for once, when the server has become one that can be stopped.
    http_.new_task_queue = [&ready, make = http_.new_task_queue] {
        ready();
        return make();
    };
    if (!http_.listen_after_bind()) throw util::Exception("No more connections can be accepted.");
}

void Server::stop() {
    file_.reset(); // before another one can listen there, whose file it would be then
    http_.end();
}

void Server::answer(const httplib::Request& request, httplib::Response& response,
                    const httplib::ContentReader& read) {
    std::string document;
    // The guard lets only digits through. A number too large for the type becomes its largest.
    const std::string declared = request.get_header_value("Content-Length");
    bool tooLarge = std::strtoull(declared.c_str(), nullptr, 10) > Command::maxBytes;
    const auto take = [&](const char* data, std::size_t length) {
        if (length > Command::maxBytes - document.size()) tooLarge = true;
        if (!tooLarge) document.append(data, length);
        return !tooLarge;
    };
    // Without a word about a body there is none; the library would wait for one until the connection ends.
    const bool hasBody = request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
    const bool complete = !hasBody || (!tooLarge && read(take));
    if (tooLarge)
        putError(response, 413, ErrorCode::notAllowed, "The command is too large.");
    else if (!complete)
        putError(response, 400, ErrorCode::notAllowed, "The command did not arrive as a whole.");
    else
        put(response, 200, carryOut(document, music_));
}

} // namespace bridge
