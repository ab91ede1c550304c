// SPDX-License-Identifier: MIT
#include "sources/Conversation.h"

#include "sources/KeptCandidates.h"
#include "util/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace sources {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t maxAnswerBytes = std::size_t{4} * 1024 * 1024;
constexpr std::chrono::hours emptyAnswerAge = 24h; // the album or its cover may be added soon
constexpr int maxTries = 4;
constexpr std::chrono::seconds longestPause = 10min;

/** How long to pause a service after so many failures in a row. The first few may be accidents: no pause. */
std::chrono::seconds pauseAfter(int failures) {
    constexpr int patience = 3;
    if (failures < patience) return 0s;
    return std::min(longestPause, std::chrono::seconds(1min) * (1 << std::min(failures - patience, 10)));
}

/** A pause beyond maxRetryAfter is ignored: the clock was set back. */
bool isPaused(const store::ServiceState& state, store::Clock::time_point now) {
    return state.pausedUntil > now && state.pausedUntil <= now + net::maxRetryAfter;
}

std::string leftAlone(const store::ServiceState& state, store::Clock::time_point now) {
    const auto left = std::chrono::ceil<std::chrono::seconds>(state.pausedUntil - now);
    return fmt::format("It is left alone for another {} s because it failed: {}", left.count(), state.reason);
}

std::string keyOf(const Service& service, const Request& request) {
    return fmt::format("{} {}", service.name(), request.url);
}

} // namespace

/** A request, from sending to its answer, with all retries. */
struct Conversation::Errand {
    const Service& service;
    Request request;
    Done done;
    int tries = 0;
};

Conversation::Conversation(store::CoverStore& store, const LookupSettings& settings)
    : store_(store), settings_(settings), deadline_(store::Clock::now() + settings.timeout) {}

net::HttpFetches& Conversation::fetches() {
    if (!fetches_) {
        const net::HttpSettings limits{.totalTimeout = settings_.timeout,
                                       .maxBodyBytes = maxAnswerBytes,
                                       .privateAddresses = settings_.privateAddresses};
        fetches_ = std::make_unique<net::HttpFetches>(limits);
    }
    return *fetches_;
}

void Conversation::ask(const Service& service, const Request& request, Done done) {
    const auto now = store::Clock::now();
    if (auto kept = keptCandidates(service, request, now)) {
        done({.candidates = *std::move(kept), .kept = true, .failure = {}});
        return;
    }
    const store::ServiceState state = store_.serviceState(service.name());
    if (isPaused(state, now)) {
        done({.candidates = {}, .kept = false, .failure = leftAlone(state, now)});
        return;
    }
    const auto errand = std::make_shared<Errand>(Errand{service, request, std::move(done)});
    if (!send(errand, now))
        errand->done({.candidates = {}, .kept = false, .failure = "It can't be asked again in time."});
}

bool Conversation::isKept(const Service& service, const Request& request) {
    return keptCandidates(service, request, store::Clock::now()).has_value();
}

/** An answer kept by another version of this program counts as missing. */
std::optional<std::vector<matching::Candidate>>
Conversation::keptCandidates(const Service& service, const Request& request, store::Clock::time_point now) {
    const auto kept = store_.keptAnswer(keyOf(service, request), now);
    if (!kept) return std::nullopt;
    try {
        return candidatesFrom(*kept);
    } catch (const util::Exception&) {
        return std::nullopt;
    }
}

/**
 * @param begin the earliest time; the service's turn may come later
 * @return false if its turn comes after the deadline
 */
bool Conversation::send(const std::shared_ptr<Errand>& errand, store::Clock::time_point begin) {
    const auto turn = store_.reserveTurn(errand->service.name(), errand->service.pace(), begin, deadline_);
    if (!turn) return false;
    ++errand->tries;
    const auto wait =
        std::chrono::duration_cast<net::HttpFetches::Clock::duration>(*turn - store::Clock::now());
    fetches().start({.url = fullUrl(errand->request), .headers = errand->request.headers},
                    net::HttpFetches::Clock::now() + wait,
                    [this, errand](const net::HttpOutcome& outcome) { receive(errand, outcome); });
    return true;
}

void Conversation::receive(const std::shared_ptr<Errand>& errand, const net::HttpOutcome& outcome) {
    Answer answer;
    std::optional<Busy> busy;
    try {
        if (!outcome.failure.empty()) throw Busy(outcome.failure);
        answer.candidates = errand->service.parse(outcome.answer);
    } catch (const Busy& e) {
        busy = e;
        answer.failure = e.what();
    } catch (const util::Exception& e) {
        answer.failure = e.what();
    }
    if (busy && outcome.failure.empty() && askAgain(errand, *busy)) return;
    note(*errand, answer, busy);
    errand->done(std::move(answer));
}

/**
 * Retries after a second or more: an overloaded service may recover soon. If the service asks for a pause,
 * the store tells the other processes about it.
 */
bool Conversation::askAgain(const std::shared_ptr<Errand>& errand, const Busy& busy) {
    if (errand->tries >= maxTries) return false;
    const std::chrono::seconds asked = busy.retryAfter().value_or(0s);
    if (asked > 0s) pause(errand->service, busy.what(), asked);
    return send(errand, store::Clock::now() + std::max(asked, 1s * (1 << (errand->tries - 1))));
}

/** Caching is best effort: a failure only slows the next request. */
void Conversation::note(const Errand& errand, const Answer& answer, const std::optional<Busy>& busy) {
    try {
        if (answer.failure.empty()) {
            keep(errand, answer.candidates);
            forgive(errand.service);
            return;
        }
        util::logLine(fmt::format("{}: {}", errand.service.name(), answer.failure));
        if (busy) noteFailure(errand.service, *busy);
    } catch (const util::Exception& e) {
        util::logLine(fmt::format("nothing can be kept of {}: {}", errand.service.name(), e.what()));
    }
}

void Conversation::keep(const Errand& errand, const std::vector<matching::Candidate>& candidates) {
    const auto age = candidates.empty() ? std::min(emptyAnswerAge, settings_.answerAge) : settings_.answerAge;
    store_.keepAnswer(keyOf(errand.service, errand.request), toText(candidates), store::Clock::now() + age);
}

/** A success resets the failure count, but not a pause: answers to earlier requests may arrive during it. */
void Conversation::forgive(const Service& service) {
    store::ServiceState state = store_.serviceState(service.name());
    if (state == store::ServiceState{}) return;
    state.failures = 0;
    if (!isPaused(state, store::Clock::now())) state = {};
    store_.setServiceState(service.name(), state);
}

void Conversation::noteFailure(const Service& service, const Busy& busy) {
    store::ServiceState state = store_.serviceState(service.name());
    if (failed_.emplace(service.name()).second) { // counts once per look-up, not for each picture
        ++state.failures;
        store_.setServiceState(service.name(), state);
    }
    pause(service, busy.what(), std::max(busy.retryAfter().value_or(0s), pauseAfter(state.failures)));
}

/** Extends a pause, never shortens it. */
void Conversation::pause(const Service& service, const std::string& reason, std::chrono::seconds length) {
    const auto now = store::Clock::now();
    store::ServiceState state = store_.serviceState(service.name());
    state.reason = reason;
    state.pausedUntil = isPaused(state, now) ? std::max(state.pausedUntil, now + length) : now + length;
    store_.setServiceState(service.name(), state);
}

void Conversation::run() {
    if (!fetches_) return;
    const auto left =
        std::chrono::duration_cast<net::HttpFetches::Clock::duration>(deadline_ - store::Clock::now());
    fetches_->run(net::HttpFetches::Clock::now() + left);
}

} // namespace sources
