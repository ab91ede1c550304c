// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"

#include <string>
#include <string_view>
#include <vector>

namespace sources {

/** The text that the store keeps, and back. @throws util::Exception for a text of another version */
[[nodiscard]] std::string toText(const std::vector<matching::Candidate>& candidates);
[[nodiscard]] std::vector<matching::Candidate> candidatesFrom(std::string_view text);

} // namespace sources
