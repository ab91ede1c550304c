// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace app {

/** A song as the appliance has it. What it does not say is empty. */
struct DeviceSong {
    std::optional<int> number; // on its disc
    std::optional<int> disc;
    std::string title;
    std::string artist;
    std::string album;
    std::string albumArtist;
    std::optional<std::chrono::seconds> length;
    std::string file; // as the appliance names it: below its music folder
};

/** The songs in the appliance's answer, in its order, whose root has to be `root`. @throws util::Exception
 * when it refuses the command or answers something else */
[[nodiscard]] std::vector<DeviceSong> deviceSongs(const std::string& reply, std::string_view root);

/**
 * The songs of the record's album on the appliance, in playing order; none where there is no such album, or
 * the record names none. @throws util::Exception when the appliance can't be asked
 */
[[nodiscard]] std::vector<DeviceSong> albumSongs(const store::Record& song);

} // namespace app
