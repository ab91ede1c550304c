// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace store {

/**
 * The folder for everything that outlives the process, made with mode 0700 where it isn't there: the first of
 * $STATE_DIRECTORY, $XDG_STATE_HOME/sleevery, /var/lib/sleevery (if that exists and can be written to),
 * ~/.local/state/sleevery that applies.
 * @throws util::Exception that says which folder and why
 */
[[nodiscard]] std::filesystem::path stateFolder();

} // namespace store
