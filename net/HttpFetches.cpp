// SPDX-License-Identifier: MIT
#include "net/HttpFetches.h"

#include "net/HttpTransfer.h"
#include "util/Exception.h"

#include <algorithm>
#include <cstddef>
#include <list>
#include <map>
#include <new>
#include <string_view>
#include <utility>

namespace net {
namespace {

using Clock = HttpFetches::Clock;

constexpr std::size_t maxAtOnce = 32;
constexpr std::ptrdiff_t maxPerServer = 4;

using MultiHandle = std::unique_ptr<CURLM, CURLMcode (*)(CURLM*)>;

void check(CURLMcode code) {
    if (code != CURLM_OK)
        throw util::Exception(fmt::format("The network library fails: {}.", curl_multi_strerror(code)));
}

/** Scheme, host and port of `url`, unchanged. */
std::string serverOf(const std::string& url) {
    return url.substr(0, url.find_first_of("/?#", std::string_view("https://").size()));
}

/** A request in progress. The destructor aborts it. */
class Running {
public:
    Running(CURLM* multi, const HttpSettings& settings, const HttpRequest& request)
        : multi_(multi), headers_(headerList(request.headers)), handle_(newCurlHandle()),
          transfer_(handle_.get(), settings, request.url) {
        setOption(handle_.get(), CURLOPT_HTTPHEADER, headers_.get());
        setOption(handle_.get(), CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
        check(curl_multi_add_handle(multi_, handle_.get()));
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { curl_multi_remove_handle(multi_, handle_.get()); }

    [[nodiscard]] const CURL* handle() const noexcept { return handle_.get(); }
    [[nodiscard]] HttpAnswer answer(CURLcode code) { return transfer_.answer(code); }

private:
    CURLM* multi_;
    HeaderList headers_;
    CurlHandle handle_;
    HttpTransfer transfer_;
};

struct Fetch {
    HttpRequest request;
    HttpFetches::Done done;
    std::unique_ptr<Running> running; // null until its turn comes
};

MultiHandle newMultiHandle() {
    static_cast<void>(newCurlHandle()); // sets libcurl up
    MultiHandle multi(curl_multi_init(), &curl_multi_cleanup);
    if (!multi) throw std::bad_alloc();
    check(curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(maxAtOnce)));
    return multi;
}

} // namespace

/**
 * Moves each request from `waiting_` to `running_` to `finished_`. Only tell() calls `done`; nothing else
 * uses the lists at that time, so `done` may start new requests. libcurl has limits of its own, but there a
 * request that waits for a busy server would block requests to other servers.
 */
class HttpFetches::Queue {
public:
    explicit Queue(const HttpSettings& settings) : settings_(settings), multi_(newMultiHandle()) {}

    void start(HttpRequest request, Clock::time_point begin, Done done) {
        waiting_.emplace(begin, Fetch{std::move(request), std::move(done), nullptr});
    }

    void run(Clock::time_point deadline);
    void clear() noexcept {
        waiting_.clear();
        running_.clear();
        finished_.clear();
    }

private:
    void startThoseDue(Clock::time_point now);
    void start(Fetch fetch);
    [[nodiscard]] bool isBusy(const std::string& server) const;
    void finishThoseDone();
    void failThoseAfter(Clock::time_point deadline);
    void failAll();
    void finish(Fetch& fetch, HttpOutcome outcome);
    [[nodiscard]] bool tell();
    void wait(Clock::time_point now, Clock::time_point deadline);

    HttpSettings settings_;
    MultiHandle multi_;
    std::multimap<Clock::time_point, Fetch> waiting_; // by their earliest start
    std::list<Fetch> running_;
    std::vector<std::pair<Done, HttpOutcome>> finished_;
};

void HttpFetches::Queue::run(Clock::time_point deadline) {
    for (;;) {
        const Clock::time_point now = Clock::now();
        failThoseAfter(deadline);
        if (now < deadline) startThoseDue(now);
        int running = 0;
        check(curl_multi_perform(multi_.get(), &running));
        finishThoseDone();
        if (now >= deadline) failAll();
        if (tell()) continue;
        if (waiting_.empty() && running_.empty()) return;
        wait(now, deadline);
    }
}

void HttpFetches::Queue::startThoseDue(Clock::time_point now) {
    for (auto next = waiting_.begin();
         next != waiting_.end() && next->first <= now && running_.size() < maxAtOnce;) {
        const auto due = next++;
        if (!isBusy(serverOf(due->second.request.url))) start(std::move(waiting_.extract(due).mapped()));
    }
}

void HttpFetches::Queue::start(Fetch fetch) {
    try {
        fetch.running = std::make_unique<Running>(multi_.get(), settings_, fetch.request);
        running_.push_back(std::move(fetch));
    } catch (const util::Exception& e) {
        finish(fetch, {.failure = e.what()});
    }
}

bool HttpFetches::Queue::isBusy(const std::string& server) const {
    return std::count_if(running_.begin(), running_.end(), [&](const Fetch& fetch) {
               return serverOf(fetch.request.url) == server;
           }) >= maxPerServer;
}

void HttpFetches::Queue::finishThoseDone() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        const auto fetch = std::find_if(running_.begin(), running_.end(), [&](const Fetch& candidate) {
            return candidate.running->handle() == message->easy_handle;
        });
        HttpOutcome outcome;
        try {
            outcome.answer = fetch->running->answer(message->data.result);
        } catch (const util::Exception& e) {
            outcome.failure = e.what();
        }
        finish(*fetch, std::move(outcome));
        running_.erase(fetch);
    }
}

void HttpFetches::Queue::failThoseAfter(Clock::time_point deadline) {
    const auto first = waiting_.upper_bound(deadline);
    for (auto fetch = first; fetch != waiting_.end(); ++fetch)
        finish(fetch->second, {.failure = "The server can't be asked again in time."});
    waiting_.erase(first, waiting_.end());
}

void HttpFetches::Queue::failAll() {
    for (Fetch& fetch : running_)
        finish(fetch, {.failure = tooLate(settings_)});
    for (auto& [begin, fetch] : waiting_)
        finish(fetch, {.failure = tooLate(settings_)});
    running_.clear();
    waiting_.clear();
}

void HttpFetches::Queue::finish(Fetch& fetch, HttpOutcome outcome) {
    finished_.emplace_back(std::move(fetch.done), std::move(outcome));
}

/** Calls `done` for each finished request. @return false if there was none */
bool HttpFetches::Queue::tell() {
    auto finished = std::exchange(finished_, {});
    for (auto& [done, outcome] : finished)
        done(std::move(outcome));
    return !finished.empty();
}

/**
 * Waits until libcurl has something to do or another request becomes due. Requests that are due already
 * wait for a free place, so their start times don't count.
 */
void HttpFetches::Queue::wait(Clock::time_point now, Clock::time_point deadline) {
    constexpr std::chrono::milliseconds atMost = std::chrono::minutes(1);
    const auto next = waiting_.upper_bound(now);
    const Clock::time_point until = next == waiting_.end() ? deadline : std::min(deadline, next->first);
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
    const auto limited = std::clamp(pause, std::chrono::milliseconds(0), atMost);
    check(curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(limited.count()), nullptr));
}

HttpFetches::HttpFetches(const HttpSettings& settings) : queue_(std::make_unique<Queue>(settings)) {}

HttpFetches::~HttpFetches() = default;

void HttpFetches::start(HttpRequest request, Clock::time_point begin, Done done) {
    queue_->start(std::move(request), begin, std::move(done));
}

void HttpFetches::run(Clock::time_point deadline) {
    try {
        queue_->run(deadline);
    } catch (...) {
        queue_->clear();
        throw;
    }
}

} // namespace net
