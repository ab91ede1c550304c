// SPDX-License-Identifier: MIT
#pragma once

#include "net/HttpClient.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace net {

struct HttpRequest {
    std::string url;
    std::vector<std::string> headers; // "Name: value"; replaces a default header of that name
};

/** The result of a request: an answer or a failure. */
struct HttpOutcome {
    HttpAnswer answer;   // valid if `failure` is empty; may have any status
    std::string failure; // an error sentence; empty on success
};

/**
 * Runs GET requests in parallel: at most 32 at once, and at most 4 to one server. Other requests wait. The
 * settings' limits apply to each request from the moment when it is sent. Keeps its connections during its
 * lifetime. One thread at a time.
 */
class HttpFetches {
public:
    using Clock = std::chrono::steady_clock;
    using Done = std::function<void(HttpOutcome outcome)>;

    /** @throws util::Exception */
    explicit HttpFetches(const HttpSettings& settings);
    ~HttpFetches();
    HttpFetches(const HttpFetches&) = delete;
    HttpFetches& operator=(const HttpFetches&) = delete;

    /**
     * Queues a GET. run() sends it, not before `begin`, and calls `done` exactly once.
     * @param done may start further requests
     */
    void start(HttpRequest request, Clock::time_point begin, Done done);

    /**
     * Sends the queued requests and returns when all are done, at the latest at `deadline`. Requests that are
     * unfinished then fail; requests that would begin after `deadline` fail at once.
     * @throws util::Exception when libcurl fails, and anything that a `done` throws. Drops all requests then
     */
    void run(Clock::time_point deadline);

private:
    class Queue;
    std::unique_ptr<Queue> queue_;
};

} // namespace net
