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
    double score = 0;   // 0 to 1; below `leastScore` it is something else
    std::string reason; // a short English sentence on what agrees and what doesn't
};

inline constexpr double leastScore = 0.5;

/** A candidate in its place. */
struct Ranked {
    Candidate candidate;
    Judgement judgement;
    std::vector<std::string> alsoFrom; // other sources that named the same picture, or the same album
};

/** Judges the candidates for one question. It remembers the names that it has compared, since sources repeat
 * them, edition by edition. One thread. */
class Judge {
public:
    explicit Judge(const Question& question);

    [[nodiscard]] const Question& question() const noexcept { return question_; }

    /** Judges by the album where the question has one, else by artist and title. */
    [[nodiscard]] Judgement judge(const Candidate& candidate);

    /** All of the candidates, judged, the best first; of equals the earlier album. */
    [[nodiscard]] std::vector<Ranked> rank(std::vector<Candidate> candidates);

private:
    using CandidateNames = std::array<std::string, 4>;

    [[nodiscard]] const Agreement& agreementWith(const Candidate& candidate);

    Question question_;
    Wanted wanted_;
    std::map<CandidateNames, Agreement> agreements_;
};

} // namespace matching
