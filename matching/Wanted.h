// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Question.h"

#include <string>
#include <string_view>

namespace matching {

/**
 * A question without the noise of tags, so that services find more. "Unknown Album" is no name. "Various
 * Artists" makes a sampler. "03 - " is no part of a title. "(Live)" or " - Single" asks for a kind.
 */
struct Wanted : Question {
    ReleaseKind kind = ReleaseKind::Unknown; // Unknown: no kind asked for
};

[[nodiscard]] Wanted wantedBy(const Question& question);

/** Whether the text stands for several artists, such as "Various Artists" or "VA". */
[[nodiscard]] bool isVarious(std::string_view artist);

} // namespace matching
