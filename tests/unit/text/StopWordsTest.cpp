// SPDX-License-Identifier: MIT
#include "text/StopWords.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using text::matchText;
using text::withoutStopWords;

using Table = std::vector<std::pair<std::string, std::string>>;

void expectTable(const Table& table) {
    for (const auto& [name, rest] : table)
        EXPECT_EQ(withoutStopWords(name), rest) << name;
}

void expectUntouched(const std::vector<std::string>& names) {
    for (const std::string& name : names)
        EXPECT_EQ(withoutStopWords(name), name);
}

constexpr std::size_t megabyte = 1 << 20;

std::string repeated(std::string_view part, std::size_t bytes) {
    std::string result;
    while (result.size() < bytes)
        result += part;
    return result;
}

TEST(WithoutStopWords, LeavesOutEditionGroups) {
    expectTable({
        {"Harbour Lights (Remastered)", "Harbour Lights"},
        {"Harbour Lights (2011 Remaster)", "Harbour Lights"},
        {"Harbour Lights (Remastered 2009)", "Harbour Lights"},
        {"Harbour Lights (2003 Digital Remaster)", "Harbour Lights"},
        {"Harbour Lights [24-bit Remaster]", "Harbour Lights"},
        {"Harbour Lights (Deluxe)", "Harbour Lights"},
        {"Harbour Lights (Deluxe Edition)", "Harbour Lights"},
        {"Harbour Lights (40th Anniversary Super Deluxe Edition)", "Harbour Lights"},
        {"Harbour Lights (Collector's Edition)", "Harbour Lights"},
        {"Harbour Lights (Collector’s Edition)", "Harbour Lights"},
        {"Harbour Lights (Édition Deluxe)", "Harbour Lights"},
        {"Harbour Lights [Bonus Tracks]", "Harbour Lights"},
        {"Harbour Lights (Bonus Track Version)", "Harbour Lights"},
        {"Harbour Lights (with Bonus Tracks)", "Harbour Lights"},
        {"Harbour Lights {Expanded & Remastered}", "Harbour Lights"},
        {"Harbour Lights (Remastered – 2009)", "Harbour Lights"},
        {"Harbour Lights (Explicit)", "Harbour Lights"},
        {"Harbour Lights [EXPLICIT VERSION]", "Harbour Lights"},
        {"Harbour Lights (Clean)", "Harbour Lights"},
        {"Harbour Lights (Mono)", "Harbour Lights"},
        {"Harbour Lights (Stereo Version)", "Harbour Lights"},
        {"Harbour Lights (Album Version)", "Harbour Lights"},
        {"Harbour Lights (Disc 2)", "Harbour Lights"},
        {"Harbour Lights (disc 1 of 3)", "Harbour Lights"},
        {"Harbour Lights [CD1]", "Harbour Lights"},
        {"Harbour Lights (2CD Deluxe Edition)", "Harbour Lights"},
        {"Harbour Lights (Disk Two)", "Harbour Lights"},
        {"Harbour Lights (Remastered) [Deluxe Edition] (CD 2)", "Harbour Lights"},
    });
}

TEST(WithoutStopWords, LeavesOutEditionNotesBehindADash) {
    expectTable({
        {"Harbour Lights - Remastered 2009", "Harbour Lights"},
        {"Harbour Lights - 2011 Remaster", "Harbour Lights"},
        {"Harbour Lights – 2011 Remaster", "Harbour Lights"},
        {"Harbour Lights — Deluxe Edition", "Harbour Lights"},
        {"Harbour Lights - Mono - Remastered ", "Harbour Lights"},
        {"Harbour Lights - Live - Remastered 2011", "Harbour Lights - Live"},
        {"Harbour Lights - Remastered 2009 (feat. Anna)", "Harbour Lights"},
        {"Harbour Lights - (Deluxe Edition)", "Harbour Lights"},
        {"Harbour Lights - Disc 2", "Harbour Lights"},
    });
    expectUntouched({"Harbour Lights-Remastered", "- Remastered", " - Remastered", ", - Remastered",
                     "Lights - Harbour", "Lights - 2009", "Harbour Lights - Remastered (Live)"});
}

TEST(WithoutStopWords, LeavesOutGuests) {
    expectTable({
        {"Harbour Lights (feat. Anna & Bob)", "Harbour Lights"},
        {"Harbour Lights [ft. Anna]", "Harbour Lights"},
        {"Harbour Lights (Featuring Anna (of The Band))", "Harbour Lights"},
        {"Harbour Lights (ft Anna)", "Harbour Lights"},
        {"Harbour Lights feat. Anna", "Harbour Lights"},
        {"Harbour Lights FEAT.Anna", "Harbour Lights"},
        {"Harbour Lights feat Anna", "Harbour Lights"},
        {"Harbour Lights Ft. Anna, Bob + Céline", "Harbour Lights"},
        {"Harbour Lights featuring Анна", "Harbour Lights"},
        {"Harbour Lights, feat. Anna", "Harbour Lights"},
        {"Harbour Lights - feat. Anna", "Harbour Lights"},
        {"Harbour Lights – feat. Anna", "Harbour Lights"},
        {"Harbour Lights feat. Anna (Live)", "Harbour Lights (Live)"},
        {"Harbour Lights feat. Anna [Remastered]", "Harbour Lights"},
        {"Harbour Lights (Live feat. Anna)", "Harbour Lights (Live)"},
        {"Harbour Lights (Remastered, feat. Anna (of The Band))", "Harbour Lights"},
        {"Harbour Lights (feat. Anna) (Night Remix)", "Harbour Lights (Night Remix)"},
        {"Five 5 ft. Anna", "Five 5"},
        {"Little Feat feat. Anna", "Little Feat"},
        {"Defeat feat. Anna", "Defeat"},
        {"The Featuring Game", "Featuring Game"},
    });
}

TEST(WithoutStopWords, KnowsFeetAndFortsFromGuests) {
    expectUntouched({"6 ft. Under", "Live at Ft. Rock", "Songs from Ft. Rock", "Ft. Rock", "Six ft Under",
                     "Feat", "feat.", "Feat. Anna", "Featuring", "Little Feat", "Little Feat & Friends",
                     "Harbour feat.", "Harbour feat", "Defeat Anna", "Aircraft. Anna", "Soft. Anna",
                     "Harbour featuring"});
}

TEST(WithoutStopWords, LeavesOutDiscNumbersAtTheEnd) {
    expectTable({
        {"Harbour Lights disc 2", "Harbour Lights"},
        {"Harbour Lights, Disc 2", "Harbour Lights"},
        {"Harbour Lights Disk Two", "Harbour Lights"},
        {"Harbour Lights CD 12 ", "Harbour Lights"},
        {"Harbour Lights cd2", "Harbour Lights"},
        {"Harbour Lights: CD #2", "Harbour Lights"},
        {"Harbour Lights Disc 2 (Remastered)", "Harbour Lights"},
        {"Hits 33 CD 1", "Hits 33"},
    });
    expectUntouched({"Disc 2", " Disc 2", ", Disc 2", "CD2", "Harbour Disc", "Disc 2 Harbour",
                     "Harbour Lights 2", "Harbour disc 1999", "Discdisc 2", "Harbour-CD 2"});
}

TEST(WithoutStopWords, LeavesOutTheArticle) {
    expectTable({
        {"The Lanterns", "Lanterns"},
        {"the lanterns", "lanterns"},
        {" THE  Lanterns", "Lanterns"},
        {"Lanterns, The", "Lanterns"},
        {"Lanterns ,the ", "Lanterns"},
        {"Lanterns, The (Remastered)", "Lanterns"},
        {"The Lanterns (feat. Anna)", "Lanterns"},
        {"The (Deluxe Edition)", "The"},
    });
    expectUntouched({"The The", "The", "the", "The The Band", "The, The", "Theatre", "The-Dream",
                     "Over the Sea", "Lanterns The", ", The", "The ()"});
}

TEST(WithoutStopWords, KeepsOtherWorks) {
    expectUntouched({
        "Harbour Lights (Live)",           "Harbour Lights (Live at Ft. Rock)",
        "Harbour Lights - Live",           "Harbour Lights (2009 Live Version)",
        "Harbour Lights (Acoustic)",       "Harbour Lights (Acoustic Version)",
        "Harbour Lights (Remix)",          "Harbour Lights (Deluxe Remix)",
        "Harbour Lights (Instrumental)",   "Harbour Lights (Part 2)",
        "Harbour Lights, Pt. 2",           "Harbour Lights Vol. 2",
        "Harbour Lights (Vol. 2)",         "Harbour Lights (Demo)",
        "Harbour Lights (Radio Edit)",     "Harbour Lights (Extended Version)",
        "Harbour Lights (Anna's Version)", "Harbour Lights (2009)",
        "Harbour Lights (Gold)",           "Harbour Lights (CD 2: Live in the Harbour)",
    });
    expectTable({{"Harbour Lights (Live) (Remastered)", "Harbour Lights (Live)"},
                 {"Harbour Lights (Live [Remastered])", "Harbour Lights (Live)"},
                 {"Harbour Lights, Pt. 2 (Mono)", "Harbour Lights, Pt. 2"}});
}

TEST(WithoutStopWords, UsesNoNameUp) {
    expectUntouched({"", " ", "(Remastered)", "[Explicit]", "((Remastered))", "(Deluxe) Harbour",
                     "(feat. Anna)", "(I Can't) Sleep", "Mono", "Stereo", "Deluxe", "Explicit", "Bonus",
                     "!!!", "()", ")(", "- ", ",", "\"(Remastered)\""});
    expectTable({{"÷ (Deluxe)", "÷"},
                 {"- (Deluxe)", "-"},
                 {"– feat. Anna", "–"},
                 {" – feat. Anna", " –"},
                 {"(Mono), (Stereo)", "(Mono)"},
                 {"+ (Deluxe Edition)", "+"},
                 {"!!! - Remastered", "!!!"},
                 {"The !!!", "!!!"}});
}

TEST(WithoutStopWords, TidiesOnlyTheSeams) {
    expectTable({
        {"Harbour  Lights (Remastered)  and  more", "Harbour  Lights and  more"},
        {"Harbour(Remastered)Lights", "Harbour Lights"},
        {"Harbour (Remastered), Lights", "Harbour, Lights"},
        {"Harbour ((Mono) Live)", "Harbour (Live)"},
        {"Harbour ((Remastered))", "Harbour"},
        {"Harbour (Remastered (2009))", "Harbour"},
    });
    expectUntouched(
        {"  Harbour  ", "a\tb", "Harbour ( Live )", "Harbour :)", "Harbour (", "Harbour O)))", "(Harbour"});
}

TEST(WithoutStopWords, ReadsAGroupThatWasCutOffToTheEnd) {
    expectTable(
        {{"Harbour Lights (Remastered", "Harbour Lights"}, {"Harbour Lights (feat. An", "Harbour Lights"}});
    expectUntouched({"Harbour Lights (Delu", "Harbour Lights (Live"});
}

TEST(WithoutStopWords, KeepsBytesThatAreNoText) {
    EXPECT_EQ(withoutStopWords("The \xFF\xC3 (Mono)"), "\xFF\xC3");
    EXPECT_EQ(withoutStopWords("a\0b (Mono)"s), "a\0b"s);
}

std::string megabyteOf(std::string_view part) { return repeated(part, megabyte); }

/** Each text would take minutes if any step scanned the rest of the text repeatedly. */
TEST(WithoutStopWords, TakesAMegabyteOfAnything) {
    const std::vector<std::string_view> parts{
        "(",     "x (",     "(remastered ", "feat. ", "at feat. ", " - mono", " - ",  " cd 1", "cd ",
        ", the", "(mono) ", "[x] ",         ")",      "-",         "the ",    "ft. ", ".",     "x feat. y (",
        "'",     "– ",      "\"",           " ",      "1",         "\xE9",    ",",    "disc",  "(feat. "};
    for (const std::string_view part : parts) {
        const std::string text = repeated(part, megabyte / 4);
        EXPECT_LE(withoutStopWords(text).size(), text.size());
        EXPECT_LE(withoutStopWords("Name " + text).size(), text.size() + 5);
        EXPECT_LE(withoutStopWords(text + ")").size(), text.size() + 1);
    }
    EXPECT_EQ(withoutStopWords(megabyteOf("(")), megabyteOf("("));
    EXPECT_EQ(withoutStopWords("Name " + megabyteOf("feat. ")), "Name");
    EXPECT_EQ(withoutStopWords("Name" + megabyteOf(" cd 1") + megabyteOf(" - mono")), "Name");
    EXPECT_EQ(withoutStopWords(megabyteOf("(") + "x" + megabyteOf(" cd 1")), megabyteOf("(") + "x");
    EXPECT_EQ(withoutStopWords("Name " + megabyteOf("(") + "mono" + megabyteOf(")")), "Name");
}

TEST(MatchText, IsTheSameForEditionsOfAName) {
    for (const std::string name :
         {"The Midnight Lanterns", "midnight lanterns", "Midnight Lanterns, The",
          "THE MIDNIGHT LANTERNS (Deluxe Edition)", "The Midnight-Lanterns [Disc 2]",
          "Midnight Lanterns - 2011 Remaster", "The Mïdnight Lanterns feat. Anna", "Mid\xADnight Lanterns"}) {
        EXPECT_EQ(matchText(name), "midnight lanterns") << name;
    }
}

TEST(MatchText, KeepsOtherWorksApart) {
    EXPECT_NE(matchText("Harbour Lights"), matchText("Harbour Lights (Live)"));
    EXPECT_NE(matchText("Harbour Lights, Vol. 1"), matchText("Harbour Lights, Vol. 2"));
    EXPECT_NE(matchText("÷ (Deluxe)"), matchText("× (Deluxe)"));
    EXPECT_NE(matchText("The The"), matchText("The"));
    EXPECT_EQ(matchText("The !!!"), "!!!");
}

TEST(MatchText, IsEmptyOnlyForWhiteSpace) {
    EXPECT_EQ(matchText(""), "");
    EXPECT_EQ(matchText(" \t"), "");
    for (const std::string name :
         {"The", "(Remastered)", "!!!", "()", "feat.", "- Mono", "Disc 2", "\xFF", ",", "'"}) {
        EXPECT_NE(matchText(name), "") << name;
    }
}

} // namespace
