// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace bridge {

/** What the player does at the moment. */
struct PlayerState {
    enum class Activity { playing, paused, stopped };

    Activity activity = Activity::stopped;
    std::optional<int> volume; // 0 to 100; none without a mixer
    int queueLength = 0;
    std::optional<int> position; // of the current song, from 1
    std::string elapsedSeconds;  // a decimal number with up to three places; empty when it is not known
    std::string lengthSeconds;   // likewise
    bool repeat = false;
    bool random = false;
    std::string failure; // in any bytes; empty where there is none

    /** Takes over a field of MPD's answer to "status". What makes no sense is passed over. */
    void take(std::string_view name, std::string_view value);
};

} // namespace bridge
