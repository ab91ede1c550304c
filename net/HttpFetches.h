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
    std::vector<std::string> headers; // "Name: value"; instead of an own one of the same name
};

/** What became of a request. */
struct HttpOutcome {
    HttpAnswer answer;   // where there is one, whatever its status
    std::string failure; // a sentence, where there is none
};

/**
 * Fetches side by side: at most 32 requests at once, and 4 of one server; others wait for their turn. The
 * limits of its settings hold for each request, from its turn on. It keeps connections for as long as it
 * lives. One thread at a time.
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

    /** GET, not before `begin`, once run() is called. `done` is called once, by run(), and may start more. */
    void start(HttpRequest request, Clock::time_point begin, Done done);

    /**
     * Returns when all requests are done, at `deadline` at the latest: whatever isn't done by then fails,
     * what would begin later at once. What a `done` throws ends it, and so do the requests.
     */
    void run(Clock::time_point deadline);

private:
    class Queue;
    std::unique_ptr<Queue> queue_;
};

} // namespace net
