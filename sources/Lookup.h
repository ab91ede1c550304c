// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Ranking.h"
#include "net/HttpClient.h"
#include "sources/Source.h"
#include "store/CoverStore.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace sources {

struct LookupSettings {
    std::chrono::milliseconds timeout = std::chrono::seconds(8); // for the whole look-up
    std::chrono::hours answerAge = std::chrono::days(30);        // of kept answers; empty ones: a day at most
    net::PrivateAddresses privateAddresses = net::PrivateAddresses::Allow;
};

enum class SourceState {
    Idle,     // there was nothing to ask
    Kept,     // all answers came from the store
    Answered, // at least one answer came from the web
    Failed,   // at least one request failed
};

/** The outcome for one source. */
struct SourceReport {
    std::string name;
    SourceState state = SourceState::Idle;
    std::size_t found = 0; // candidates, including those that don't fit
    std::string reason;    // of a failure: a sentence
};

struct LookupResult {
    std::vector<matching::Candidate> candidates; // those that fit, ordered by source
    std::vector<SourceReport> reports;           // one per source, in the same order
};

/** The sources to ask, in the configured order. */
struct Sources {
    std::vector<std::unique_ptr<Source>> albums;
    std::vector<std::unique_ptr<PictureSource>> pictures; // asked about the best albums found
};

/**
 * Asks all sources in parallel about the question of `judge`. Returns when all are done or the time is over.
 * Keeps the answers in `store`. Pauses a source that keeps failing or asks for a pause.
 * @throws util::Exception when the store fails; a source's failure is in its report
 */
[[nodiscard]] LookupResult lookUp(store::CoverStore& store, const Sources& sources, matching::Judge& judge,
                                  const LookupSettings& settings);

} // namespace sources
