// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Agreement.h"
#include "matching/Candidate.h"
#include "matching/Question.h"
#include "matching/Wanted.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace matching {

/** How well a candidate answers a question; docs/matching.md explains the score. */
struct Judgement {
    double score = 0;   // 0 to 1; below `leastScore` it doesn't fit
    std::string reason; // an English sentence: what agrees, what differs
};

inline constexpr double leastScore = 0.5;

/** A candidate with its judgement, an entry of a ranked list. */
struct Ranked {
    Candidate candidate;
    Judgement judgement;
    std::vector<std::string> alsoFrom; // other sources with the same picture or album
};

/**
 * Judges the candidates for one question. Remembers each comparison of names, because sources repeat the same
 * names for every edition. One thread.
 */
class Judge {
public:
    explicit Judge(const Question& question);

    [[nodiscard]] const Question& question() const noexcept { return question_; }

    /** Compares the album if the question names one, else artist and title. */
    [[nodiscard]] Judgement judge(const Candidate& candidate);

    /** All candidates with their judgements; best first. Of equal ones the earlier album comes first. */
    [[nodiscard]] std::vector<Ranked> rank(std::vector<Candidate> candidates);

private:
    using CandidateNames = std::array<std::string, 4>;

    [[nodiscard]] const Agreement& agreementWith(const Candidate& candidate);

    Question question_;
    Wanted wanted_;
    std::map<CandidateNames, Agreement> agreements_;
};

} // namespace matching
