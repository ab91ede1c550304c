// SPDX-License-Identifier: MIT
#include "util/Convert.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using util::BadConversion;
using util::convert;
using util::convertTo;

TEST(ConvertTo, ReadsAWholeNumber) { EXPECT_EQ(convertTo<int>("42"), 42); }

TEST(ConvertTo, SkipsLeadingWhiteSpace) { EXPECT_EQ(convertTo<int>(" \t\n 42"), 42); }

TEST(ConvertTo, TakesEitherSign) {
    EXPECT_EQ(convertTo<int>("+7"), 7);
    EXPECT_EQ(convertTo<int>("-7"), -7);
    EXPECT_EQ(convertTo<int>("-0"), 0);
}

TEST(ConvertTo, ReachesTheLimitsOfAnInt) {
    EXPECT_EQ(convertTo<int>("2147483647"), 2147483647);
    EXPECT_EQ(convertTo<int>("-2147483648"), -2147483647 - 1);
}

class ConvertToRefuses : public testing::TestWithParam<std::string> {};

TEST_P(ConvertToRefuses, AndSaysTheTextItself) {
    try {
        convertTo<int>(GetParam());
        FAIL() << "accepted: " << GetParam();
    } catch (const BadConversion& failure) {
        EXPECT_EQ(failure.what(), GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(LeftoverCharacters, ConvertToRefuses,
                         testing::Values("42 ", "42\n", "4x", "0x10", "1.5", "1 2", "7-"));
INSTANTIATE_TEST_SUITE_P(NoNumber, ConvertToRefuses, testing::Values("", " ", "abc", "-", "+", "+ 7", "--7"));
INSTANTIATE_TEST_SUITE_P(OutOfRange, ConvertToRefuses,
                         testing::Values("2147483648", "-2147483649", "99999999999999999999999"));

TEST(ConvertTo, LeavesTheRestAloneWhereThatIsAskedFor) {
    EXPECT_EQ(convertTo<int>("42 and more", false), 42);
    EXPECT_EQ(convertTo<int>("4x", false), 4);
    EXPECT_THROW(convertTo<int>("x4", false), BadConversion);
    EXPECT_THROW(convertTo<int>("2147483648", false), BadConversion);
}

TEST(Convert, FillsItsTarget) {
    int number = 0;
    convert("17", number);
    EXPECT_EQ(number, 17);
    EXPECT_THROW(convert("17 ", number), BadConversion);
    convert("18 ", number, false);
    EXPECT_EQ(number, 18);
}

} // namespace
