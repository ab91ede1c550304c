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
 * Gets single requests answered: out of the store where their answers are kept, from the web otherwise, at
 * the pace of each service and not while it is left alone. One thread.
 */
class Conversation {
public:
    struct Answer {
        std::vector<matching::Candidate> candidates;
        bool kept = false;   // nothing went out
        std::string failure; // a sentence; empty where it was answered
    };
    using Done = std::function<void(Answer answer)>;

    /** All of it ends with the settings' time. `store` must live as long. @throws util::Exception */
    Conversation(store::CoverStore& store, const LookupSettings& settings);

    /** `done` is called once: at once, or by run(). The service must live until then. */
    void ask(const Service& service, const Request& request, Done done);

    /** Whether ask() would have an answer without anything going out. */
    [[nodiscard]] bool isKept(const Service& service, const Request& request);

    /** Returns when everything is answered, or has failed. */
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
    std::set<std::string, std::less<>> failed_; // services of which that is noted
    std::unique_ptr<net::HttpFetches> fetches_; // made when there is something to fetch
};

} // namespace sources
