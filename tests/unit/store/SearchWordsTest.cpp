// SPDX-License-Identifier: MIT
#include "store/SearchWords.h"

#include <gtest/gtest.h>

namespace {

TEST(SearchWords, NamesTheFieldOfEachFoldedWord) {
    EXPECT_EQ(store::searchWords({.artist = "Björk", .title = "All Is Full (Live)", .album = "Homo-genic"}),
              "abjork lhomo lgenic tall tis tfull tlive ");
    EXPECT_EQ(store::searchWords({.artist = "!!!", .genre = "Rock", .songFilename = "/a/b", .uid = "7"}),
              "a!!! ");
    EXPECT_EQ(store::searchWords({}), "");
}

TEST(MatchExpression, WantsEachWordAndTheLastOfAFieldAsAPrefix) {
    EXPECT_EQ(store::matchExpression({.artist = "The Lowb", .album = "Paper Lan", .title = "Qu"}),
              R"("alowb" * "lpaper" "llan" * "tqu" * )");
    EXPECT_EQ(store::matchExpression({.title = "Quiet"}), R"("tquiet" * )");
}

TEST(MatchExpression, IsEmptyWhereNoFieldHasAWord) {
    EXPECT_EQ(store::matchExpression({}), "");
    EXPECT_EQ(store::matchExpression({.artist = " \t", .title = "\n"}), "");
}

TEST(MatchExpression, LeavesNoQuoteOpen) {
    EXPECT_EQ(store::matchExpression({.artist = "\"\""}), R"("a""""" * )");
}

} // namespace
