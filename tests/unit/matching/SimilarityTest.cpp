// SPDX-License-Identifier: MIT
#include "matching/Similarity.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using matching::sameWithoutNotes;
using matching::similarity;

using Pairs = std::vector<std::pair<std::string, std::string>>;

void expectBetween(const Pairs& pairs, double least, double most) {
    for (const auto& [one, other] : pairs) {
        const double result = similarity(one, other);
        EXPECT_GE(result, least) << one << " | " << other;
        EXPECT_LE(result, most) << one << " | " << other;
        EXPECT_DOUBLE_EQ(result, similarity(other, one)) << one << " | " << other;
    }
}

TEST(Similarity, IsOneForTheSameFoldedForm) {
    expectBetween({{"Paper Lanterns", "paper lanterns"},
                   {"Ålesund Nätter", "Alesund Natter"},
                   {"Salt & Cedar", "Salt and Cedar"},
                   {"Don't Wake the Tide", "Don’t wake the tide!"},
                   {"Северный Ветер", "северный ветер"},
                   {"ＬＯＷＢＥＡＭ", "Lowbeam"},
                   {"!!!", "!!!"}},
                  1, 1);
}

TEST(Similarity, IsALittleLessWithoutStopWords) {
    expectBetween({{"Paper Lanterns", "Paper Lanterns (2014 Remaster)"},
                   {"The Ferrymen", "Ferrymen"},
                   {"Ferrymen, The", "The Ferrymen"},
                   {"Quiet Harbour", "Quiet Harbour (feat. Ada Vinter)"},
                   {"Paper Lanterns [Disc 2]", "Paper Lanterns (Deluxe Edition)"}},
                  sameWithoutNotes, sameWithoutNotes);
}

TEST(Similarity, StaysHighForMisspellings) {
    expectBetween({{"Quiet Harbour", "Quiet Harbor"},
                   {"Paper Lanterns", "Paper Lantrens"},
                   {"Lowbeam", "Low Beam"},
                   {"84 Volt", "84Volt"},
                   {"Vinter, Ada", "Ada Vinter"},
                   {"Part Two", "Part II"},
                   {"Part 02", "Part 2"},
                   {"The Cartographer's Daughter", "The Cartografers Daughter"}},
                  0.7, 0.95);
}

TEST(Similarity, StaysAboveTheLeastWithoutASubtitleOrAYear) {
    expectBetween({{"Slow Tides", "Slow Tides: Sixteen Calm Hours"},
                   {"Ten Small Lights", "Ten Small Lights: The Best of Lowbeam"},
                   {"Hen House Stomp", "Hen House Stomp! (And Others)"},
                   {"Symphony No. 2", "Symphony No. 2 / Harbour Overture"},
                   {"Rust", "Rust EP"},
                   {"Live in Lisbon", "Live in Lisbon 1994-05-12"},
                   {"Paper Lanterns (2004)", "Paper Lanterns"},
                   {"Night Ferry OST", "Night Ferry (Original Motion Picture Soundtrack)"}},
                  0.5, 0.95);
}

TEST(Similarity, IsLowForAnotherWork) {
    expectBetween({{"Paper Lanterns", "Paper Lanterns Live at Oslo"},
                   {"Paper Lanterns", "Paper Lanterns (Live)"},
                   {"Quiet Harbour", "Quiet Harbour (Northlight Remix)"},
                   {"Harbour Songs, Volume 2", "Harbour Songs, Volume 3"},
                   {"Harbour Songs", "Harbour Songs II"},
                   {"Summer Hits 2004", "Summer Hits 2005"},
                   {"Live in Lisbon 1994-05-12", "Live in Lisbon 1994-05-13"},
                   {"The Best of Lowbeam", "Lowbeam"},
                   {"Paper Lanterns", "Paper Boats"},
                   {"Marlow", "Marlena Voss"},
                   {"Slow Tides", "Slow Tides: Live"},
                   {"Slow Tides", "Slow Tides: Volume 2"},
                   {"Symphony No. 2", "Symphony No. 3 / Harbour Overture"},
                   {"春の歌", "夏の歌"}},
                  0, 0.49);
}

TEST(Similarity, TellsWhatHasNothingInCommon) {
    expectBetween({{"Lowbeam", "Ada Vinter"}, {"東京", "Tokyo"}, {"!!!", "???"}}, 0, 0.1);
}

TEST(Similarity, FindsNothingLikeAnEmptyName) {
    expectBetween({{"", ""}, {"", "Lowbeam"}, {"  ", " "}}, 0, 0);
}

TEST(Similarity, TakesAnyBytes) {
    EXPECT_EQ(similarity("caf\xE9", "Café"), 1);
    const std::string bytes("\xFF\x00\x80", 3);
    EXPECT_EQ(similarity(bytes, bytes), 1);
}

TEST(Similarity, ComparesOnlyTheBeginningOfLongNames) {
    const std::string begin(2047, 'a');
    EXPECT_EQ(similarity(begin + "é first", begin + "é second"), 1) << "cut in the middle of a character";
    std::string words;
    for (int i = 0; i < 1000000; ++i)
        words += i % 2 == 0 ? "tide " : "tied ";
    EXPECT_EQ(similarity(words, words + "more"), 1);
    EXPECT_LT(similarity(words, "Paper Lanterns"), 0.1);
}

} // namespace
