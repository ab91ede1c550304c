// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Question.h"

#include <string>
#include <string_view>

namespace matching {

/** A question without the noise of tags: "Unknown Album" is no name, "Various Artists" makes a sampler, "03 -
 * " is no part of a title, and "(Live)" or " - Single" asks for a kind. Services find more by it. */
struct Wanted : Question {
    ReleaseKind kind = ReleaseKind::Unknown; // Unknown: the names ask for none
};

[[nodiscard]] Wanted wantedBy(const Question& question);

/** Whether "artist" says that there are many. */
[[nodiscard]] bool isVarious(std::string_view artist);

} // namespace matching
