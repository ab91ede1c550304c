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

TEST(WantedWords, AreThoseOfEachFieldThatHasSome) {
    using Words = std::vector<std::vector<std::string>>;
    EXPECT_EQ(store::wantedWords({.artist = "The Lowb", .title = "Qu I"}), (Words{{"alowb"}, {"tqu", "ti"}}));
    EXPECT_EQ(store::wantedWords({.artist = " \t", .title = "\n"}), Words());
}

} // namespace
