// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"

#include <string>
#include <string_view>
#include <vector>

namespace sources {

/** As text, and back, for the store. @throws util::Exception for a text that this version didn't write */
[[nodiscard]] std::string toText(const std::vector<matching::Candidate>& candidates);
[[nodiscard]] std::vector<matching::Candidate> candidatesFrom(std::string_view text);

} // namespace sources
