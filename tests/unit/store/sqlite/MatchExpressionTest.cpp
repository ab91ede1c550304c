// SPDX-License-Identifier: MIT
#include "store/sqlite/MatchExpression.h"

#include <gtest/gtest.h>

namespace {

using store::sqlite::matchExpression;

TEST(MatchExpression, WantsEachWordAndTheLastOfAFieldAsAPrefix) {
    EXPECT_EQ(matchExpression({.artist = "The Lowb", .album = "Paper Lan", .title = "Qu"}),
              R"("alowb" * "lpaper" "llan" * "tqu" * )");
    EXPECT_EQ(matchExpression({.title = "Quiet"}), R"("tquiet" * )");
}

TEST(MatchExpression, IsEmptyWhereNoFieldHasAWord) {
    EXPECT_EQ(matchExpression({}), "");
    EXPECT_EQ(matchExpression({.artist = " \t", .title = "\n"}), "");
}

TEST(MatchExpression, LeavesNoQuoteOpen) { EXPECT_EQ(matchExpression({.artist = "\"\""}), R"("a""""" * )"); }

} // namespace
