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
    std::chrono::milliseconds timeout = std::chrono::seconds(8); // for all of it
    std::chrono::hours answerAge = std::chrono::days(30); // how long answers hold; empty ones a day at most
    net::PrivateAddresses privateAddresses = net::PrivateAddresses::Allow;
};

enum class SourceState {
    Idle,     // there was nothing to ask it
    Kept,     // all that it was to be asked it had answered before
    Answered, // the web was asked
    Failed,   // something is missing
};

/** What became of one source. */
struct SourceReport {
    std::string name;
    SourceState state = SourceState::Idle;
    std::size_t found = 0; // candidates, whether they fit or not
    std::string reason;    // why it failed, a sentence
};

struct LookupResult {
    std::vector<matching::Candidate> candidates; // in the order of their sources, those that fit
    std::vector<SourceReport> reports;           // one of each source, in their order
};

/** Whom to ask, in the order in which they are named. */
struct Sources {
    std::vector<std::unique_ptr<Source>> albums;
    std::vector<std::unique_ptr<PictureSource>> pictures; // of the best albums that are found
};

/**
 * Asks all sources side by side for what `judge` judges by, and returns when they are done, or when the time
 * is over. What they answer is kept in `store`; a source that keeps failing, or wants it so, is left alone
 * for a while.
 * @throws util::Exception when the store fails; what befalls a source stands in its report
 */
[[nodiscard]] LookupResult lookUp(store::CoverStore& store, const Sources& sources, matching::Judge& judge,
                                  const LookupSettings& settings);

} // namespace sources
