// SPDX-License-Identifier: MIT
#include "bridge/PlayerState.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using bridge::PlayerState;

PlayerState with(const std::string& name, const std::string& value) {
    PlayerState state;
    state.take(name, value);
    return state;
}

TEST(PlayerState, KnowsThreeActivities) {
    EXPECT_EQ(with("state", "play").activity, PlayerState::Activity::playing);
    EXPECT_EQ(with("state", "pause").activity, PlayerState::Activity::paused);
    EXPECT_EQ(with("state", "stop").activity, PlayerState::Activity::stopped);
    EXPECT_EQ(with("state", "?").activity, PlayerState::Activity::stopped);
}

TEST(PlayerState, HasNoVolumeWithoutAMixer) {
    EXPECT_EQ(with("volume", "0").volume, 0);
    EXPECT_EQ(with("volume", "100").volume, 100);
    EXPECT_EQ(with("volume", "-1").volume, std::nullopt);
    EXPECT_EQ(with("volume", "101").volume, std::nullopt);
    EXPECT_EQ(with("volume", "n/a").volume, std::nullopt);
}

TEST(PlayerState, CountsPositionsFromOne) {
    EXPECT_EQ(with("song", "0").position, 1);
    EXPECT_EQ(with("song", "2147483647").position, 2147483647);
    EXPECT_EQ(with("song", "-1").position, std::nullopt);
    EXPECT_EQ(with("song", "x").position, std::nullopt);
}

TEST(PlayerState, HasTimesWithThreePlacesAtMost) {
    EXPECT_EQ(with("elapsed", "12").elapsedSeconds, "12");
    EXPECT_EQ(with("elapsed", "12.5").elapsedSeconds, "12.5");
    EXPECT_EQ(with("elapsed", "12.34567").elapsedSeconds, "12.345");
    EXPECT_EQ(with("duration", "61.250").lengthSeconds, "61.250");
    for (const char* value : {"", "x", "-1.5", "1.", "1.x", "1.5x", ".5", "1:5", "99999999999"})
        EXPECT_EQ(with("elapsed", value).elapsedSeconds, "") << value;
}

TEST(PlayerState, TakesOverTheRest) {
    EXPECT_EQ(with("playlistlength", "7").queueLength, 7);
    EXPECT_EQ(with("playlistlength", "-7").queueLength, 0);
    EXPECT_TRUE(with("repeat", "1").repeat);
    EXPECT_FALSE(with("repeat", "0").repeat);
    EXPECT_TRUE(with("random", "1").random);
    EXPECT_EQ(with("error", "no device").failure, "no device");
}

} // namespace
