// SPDX-License-Identifier: MIT
#pragma once

#include "net/HttpFetches.h"
#include "sources/Lookup.h"
#include "sources/Source.h"
#include "store/CoverStore.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace sources {

/**
 * Answers single requests, from the store if an answer is kept there, else from the web. Keeps to the pace of
 * each service, and sends nothing to a paused one. One thread.
 */
class Conversation {
public:
    struct Answer {
        std::vector<matching::Candidate> candidates;
        bool kept = false;   // from the store; no request was sent
        std::string failure; // a sentence; empty on success
    };
    using Done = std::function<void(Answer answer)>;

    /**
     * Everything ends when `settings.timeout` is over. `store` must outlive this object.
     * @throws util::Exception
     */
    Conversation(store::CoverStore& store, const LookupSettings& settings);

    /** Calls `done` exactly once: immediately, or from run(). The service must live until then. */
    void ask(const Service& service, const Request& request, Done done);

    /** Whether ask() could answer without sending a request. */
    [[nodiscard]] bool isKept(const Service& service, const Request& request);

    /** Returns when every request has an answer or has failed. */
    void run();

private:
    struct Errand;

    std::optional<std::vector<matching::Candidate>>
    keptCandidates(const Service& service, const Request& request, store::Clock::time_point now);
    [[nodiscard]] bool send(const std::shared_ptr<Errand>& errand, store::Clock::time_point begin);
    void receive(const std::shared_ptr<Errand>& errand, const net::HttpOutcome& outcome);
    bool askAgain(const std::shared_ptr<Errand>& errand, const Busy& busy);
    void keep(const Errand& errand, const std::vector<matching::Candidate>& candidates);
    void note(const Errand& errand, const Answer& answer, const std::optional<Busy>& busy);
    void forgive(const Service& service);
    void noteFailure(const Service& service, const Busy& busy);
    void pause(const Service& service, const std::string& reason, std::chrono::seconds length);
    net::HttpFetches& fetches();

    store::CoverStore& store_;
    LookupSettings settings_;
    store::Clock::time_point deadline_;
    std::set<std::string, std::less<>> failed_; // services with a failure that is counted already
    std::unique_ptr<net::HttpFetches> fetches_; // made for the first request that is sent
};

} // namespace sources
