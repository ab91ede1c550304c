// SPDX-License-Identifier: MIT
#include "util/Numbers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using util::wholeNumber;

TEST(WholeNumber, IsMadeOfDigitsAlone) {
    EXPECT_EQ(wholeNumber<int>("0"), 0);
    EXPECT_EQ(wholeNumber<int>("0042"), 42);
    for (const char* text : {"", "-1", "-0", "+1", " 1", "1 ", "1x", "0x10", "1.5", "1e3"})
        EXPECT_EQ(wholeNumber<int>(text), std::nullopt) << text;
}

TEST(WholeNumber, FitsItsType) {
    EXPECT_EQ(wholeNumber<int>("2147483647"), std::numeric_limits<int>::max());
    EXPECT_EQ(wholeNumber<int>("2147483648"), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint64_t>("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(wholeNumber<std::uint64_t>("18446744073709551616"), std::nullopt);
}

} // namespace
