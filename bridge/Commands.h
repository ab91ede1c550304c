// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/MusicServer.h"

#include <string>

namespace bridge {

/**
 * Carries out a command.
 * @param document as it was posted, in any bytes
 * @return the document to answer with
 * @throws Failure, and what else may go wrong
 */
[[nodiscard]] std::string carryOut(const std::string& document, MusicServer& server);

} // namespace bridge
