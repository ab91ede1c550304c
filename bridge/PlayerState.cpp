// SPDX-License-Identifier: MIT
#include "bridge/PlayerState.h"

#include "bridge/Numbers.h"

#include <algorithm>
#include <climits>

namespace bridge {
namespace {

/** A number of seconds as MPD writes it, with three places behind the point at most; empty for anything else.
 */
std::string seconds(std::string_view text) {
    constexpr std::size_t places = 3;
    const std::size_t whole = leadingNumber(text).length;
    if (whole == 0) return "";
    if (whole == text.size()) return std::string(text);
    const std::string_view fraction = text.substr(whole + 1);
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (text[whole] != '.' || fraction.empty() || !std::ranges::all_of(fraction, isDigit)) return "";
    return std::string(text.substr(0, whole + 1 + places));
}

PlayerState::Activity activityOf(std::string_view value) {
    if (value == "play") return PlayerState::Activity::playing;
    if (value == "pause") return PlayerState::Activity::paused;
    return PlayerState::Activity::stopped;
}

/** MPD's own "volume: -1" and whatever is no percentage are none. */
std::optional<int> volumeOf(std::string_view value) {
    const std::optional<int> volume = wholeNumber(value);
    return volume && *volume <= 100 ? volume : std::nullopt;
}

} // namespace

void PlayerState::take(std::string_view name, std::string_view value) {
    if (name == "state") activity = activityOf(value);
    if (name == "volume") volume = volumeOf(value);
    if (name == "playlistlength") queueLength = wholeNumber(value).value_or(0);
    if (name == "elapsed") elapsedSeconds = seconds(value);
    if (name == "duration") lengthSeconds = seconds(value);
    if (name == "repeat") repeat = value == "1";
    if (name == "random") random = value == "1";
    if (name == "error") failure = value;
    if (name == "song") {
        position = wholeNumber(value);
        if (position) position = *position < INT_MAX ? *position + 1 : INT_MAX;
    }
}

} // namespace bridge
