// SPDX-License-Identifier: MIT
#include "text/Fold.h"

#include "text/Utf8.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using text::folded;

using Pairs = std::vector<std::pair<std::string, std::string>>;

void expectSame(const Pairs& pairs) {
    for (const auto& [one, other] : pairs)
        EXPECT_EQ(folded(one), folded(other)) << one << " | " << other;
}

void expectDifferent(const Pairs& pairs) {
    for (const auto& [one, other] : pairs)
        EXPECT_NE(folded(one), folded(other)) << one << " | " << other;
}

std::string repeated(std::string_view part, std::size_t bytes) {
    std::string result;
    while (result.size() < bytes)
        result += part;
    return result;
}

TEST(Folded, PutsWordsInSmallLettersOneBlankApart) {
    EXPECT_EQ(folded("  The\tMidnight \r\n LANTERNS "), "the midnight lanterns");
    EXPECT_EQ(folded("one,two;three/four_five-six (seven)"), "one two three four five six seven");
    EXPECT_EQ(folded("a\u00A0b\u3000c\u2003d\u2028e\u0085f"), "a b c d e f");
}

TEST(Folded, RemovesAccents) {
    EXPECT_EQ(folded("Björn Ångström Čapek Françoise Nuñez"), "bjorn angstrom capek francoise nunez");
    EXPECT_EQ(folded("Việt Nguyễn"), "viet nguyen");
    expectSame({{"é", "e\u0301"}, {"ǖ", "u\u0304\u0308"}, {"Ώρα", "ωρα"}, {"ᾳ", "ΑΙ"}});
}

TEST(Folded, FoldsCase) {
    EXPECT_EQ(folded("Straße"), "strasse");
    EXPECT_EQ(folded("STRAẞE"), "strasse");
    expectSame({{"ΣΊΣΥΦΟΣ", "σίσυφος"}, {"ПРИВЕТ", "привет"}, {"Ծով", "ծով"}});
    expectSame({{"ᲛᲖᲔ", "მზე"}, {"Ⓐ", "a"}});
}

TEST(Folded, TakesAllFourTurkishLettersForOne) { EXPECT_EQ(folded("İI ıi"), "ii ii"); }

TEST(Folded, SpellsLettersThatHaveNoDecomposition) {
    EXPECT_EQ(folded("Ærø Łódź Đurđa Þór Œuvre Ħal Ŧ Guðrún"), "aero lodz durda thor oeuvre hal t gudrun");
}

TEST(Folded, ResolvesCompatibilityForms) {
    EXPECT_EQ(folded("ﬁre ﬂy oﬃce"), "fire fly office");
    EXPECT_EQ(folded("ＦＵＬＬ　ｗｉｄｔｈ１２"), "full width12");
    EXPECT_EQ(folded("No² ½ Ⅳ ①"), "no2 1 2 iv 1");
    expectSame({{"ｶﾞﾗｽ", "ガラス"}, {"㍿", "株式会社"}, {"…and", "...and"}});
}

TEST(Folded, KeepsCyrillicLettersApartThatOnlyLookAccented) {
    EXPECT_EQ(folded("Мой"), "мой");
    EXPECT_EQ(folded("Ё-моё"), "е мое");
    expectSame({{"й", "и\u0306"}, {"ЙЎЇ", "йўї"}, {"Ўў", "у\u0306у\u0306"}, {"за́мок", "замок"}});
    expectDifferent({{"мой", "мои"}, {"ў", "у"}, {"її", "іі"}});
}

TEST(Folded, KeepsJapaneseVoicingMarks) {
    EXPECT_EQ(folded("がっこう"), "がっこう");
    expectSame({{"が", "か\u3099"}, {"ぱ", "は\u309A"}, {"ジョン・スミス", "ジョン スミス"}});
    expectDifferent({{"が", "か"}, {"ぱ", "は"}, {"ぱ", "ば"}, {"ハート", "ハト"}, {"か", "カ"}});
}

TEST(Folded, KeepsKoreanSyllables) {
    EXPECT_EQ(folded("한국 노래"), "한국 노래");
    expectSame({{"한", "\u1112\u1161\u11AB"}});
    expectDifferent({{"한", "하"}});
}

TEST(Folded, KeepsVowelsOfIndicScriptsAndThai) {
    EXPECT_EQ(folded("हिन्दी"), "हिन्दी");
    EXPECT_EQ(folded("ที่นี่"), "ที่นี่");
    expectSame({{"กำ", "ก\u0E4D\u0E32"}});
    expectDifferent({{"कि", "क"}, {"क्", "क"}, {"ที่", "ท"}, {"தமிழ்", "தமழ"}, {"ދި", "ދ"}});
}

TEST(Folded, RemovesPointsOfArabicAndHebrew) {
    expectSame({{"مُحَمَّد", "محمد"},
                {"أحمد", "احمد"},
                {"الـــحب", "الحب"},
                {"ﷲ", "الله"},
                {"שָׁלוֹם", "שלום"},
                {"ג׳", "ג'"}});
    EXPECT_EQ(folded("בית־ספר"), "בית ספר");
}

TEST(Folded, TakesApostrophesOfAnyShapeOutOfWords) {
    for (const std::string name :
         {"Don't", "Dont", "Don’t", "Don‘t", "Don`t", "Don´t", "Donʼt", "Don＇t", "Don′t", "DON'T"}) {
        EXPECT_EQ(folded(name), "dont") << name;
    }
    EXPECT_EQ(folded("'Lanterns' ‘n’ “Lights”"), "lanterns n lights");
    EXPECT_EQ(folded("12'' mix"), folded("12\" mix"));
}

TEST(Folded, ReadsAmpersandAndPlusAsAnd) {
    expectSame({{"Anna & Bob", "Anna and Bob"},
                {"Anna + Bob", "Anna And Bob"},
                {"R&B", "R and B"},
                {"A＆B", "a & b"}});
    expectDifferent({{"A+", "A"}, {"C++", "C"}});
}

TEST(Folded, JoinsInitials) {
    EXPECT_EQ(folded("X.Y.Z."), "xyz");
    EXPECT_EQ(folded("x.Y.z"), "xyz");
    EXPECT_EQ(folded("X. Y. Kingley"), "xy kingley");
    EXPECT_EQ(folded("Á. B.Č. Kingley"), "abc kingley");
    EXPECT_EQ(folded("А.С. Лесной"), "ас лесной");
    EXPECT_EQ(folded("Mr. X. Ray"), "mr x ray");
    EXPECT_EQ(folded("X Y Z"), "x y z");
    EXPECT_EQ(folded("x - y . z"), "x y z");
}

TEST(Folded, KeepsNumbersApart) {
    EXPECT_EQ(folded("1.5"), "1 5");
    EXPECT_EQ(folded("A. 1. B"), "a 1 b");
    expectDifferent({{"1.5", "15"}, {"19-99", "1999"}});
}

TEST(Folded, DropsInvisibleCharacters) {
    expectSame({{"mid\u00ADnight", "midnight"},
                {"\uFEFFname", "name"},
                {"na\u200Bme", "name"},
                {"می\u200Cخواهم", "میخواهم"},
                {"❤\uFE0F", "❤"},
                {"\u202Ename\u202C", "name"}});
}

TEST(Folded, TakesSymbolsAndEmojiForBlanksBesideWords) {
    EXPECT_EQ(folded("Love 💔 Song 👩\u200D🎤"), "love song");
    EXPECT_EQ(folded("Lanterns™ ©"), "lanterns");
    EXPECT_EQ(folded("a|b~c^d=e"), "a b c d e");
}

TEST(Folded, KeepsNamesWithoutWordsAndKeepsThemApart) {
    const std::vector<std::string> names{"!!!", "???", "÷",   "×",   "=",  "+", "&", "-",
                                         ".",   "...", "+/-", "♥",   "❤",  "™", "'", "()",
                                         "$",   "* *", "**",  "(+)", "…?", "—", "٪", "💔"};
    std::set<std::string> forms;
    for (const std::string& name : names) {
        const std::string form = folded(name);
        EXPECT_FALSE(form.empty()) << name;
        EXPECT_EQ(folded(form), form) << name;
        forms.insert(form);
    }
    EXPECT_EQ(forms.size(), names.size());
}

TEST(Folded, TidiesTheBlanksOfANameWithoutWords) {
    EXPECT_EQ(folded("\t ! \n !\u3000"), "! !");
    EXPECT_EQ(folded("！！！"), "!!!");
}

TEST(Folded, IsEmptyForNothingButWhiteSpace) {
    for (const std::string& blank :
         {""s, " "s, "\t\r\n"s, "\u3000\u00A0"s, "\0\0"s, "\x01\x7F"s, "\u200B"s, "\u3164"s}) {
        EXPECT_EQ(folded(blank), "");
    }
}

TEST(Folded, SeparatesWordsAtNulAndControls) { EXPECT_EQ(folded("a\0b\x01"s + "c\x7F"s + "d"), "a b c d"); }

TEST(Folded, ReadsOtherBytesAsWindows1252) {
    EXPECT_EQ(folded("Mot\xF6rh\xE9"), "motorhe");
    EXPECT_EQ(folded("Don\x92t \x96 Stop"), "dont stop");
    EXPECT_EQ(folded("\xFF"), "y");
}

TEST(Folded, TakesLettersItDoesNotKnowForLetters) {
    expectDifferent({{"a \uE000", "a"}, {"\U000E1000", "\U000E1001"}, {"\uF8FF", "\uF8FE"}});
}

/** A text of ASCII only is not normalised. The result must be the same as beside other characters. */
TEST(Folded, FoldsAsciiAloneAsBesideOtherText) {
    const auto check = [](const std::string& text) {
        const std::string alone = folded("x " + text + " x");
        ASSERT_EQ(folded("ж " + text + " ж"), "ж" + alone.substr(1, alone.size() - 2) + "ж")
            << testing::PrintToString(text);
    };
    for (char first = 0; first != '\x7F'; ++first) {
        check({first});
        for (char second = 0; second != '\x7F'; ++second)
            check({first, second});
    }
}

TEST(Folded, FoldsAsciiLikeItsFullWidthForm) {
    for (char32_t first = '!'; first <= '~'; ++first) {
        for (char32_t second = '!'; second <= '~'; ++second) {
            std::string wide;
            text::appendCharacter(wide, first - '!' + 0xFF01);
            text::appendCharacter(wide, second - '!' + 0xFF01);
            const std::string narrow{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(folded("x" + wide), folded("x" + narrow)) << narrow;
        }
    }
}

TEST(Folded, ChangesNothingASecondTimeForEveryCharacter) {
    for (char32_t code = 0; code < 0x20000; ++code) {
        if (code == 0xD800) code = 0xE000;
        std::string alone;
        text::appendCharacter(alone, code);
        for (const std::string& name : {alone, "a" + alone + "b"}) {
            const std::string once = folded(name);
            ASSERT_EQ(folded(once), once) << std::hex << static_cast<std::uint32_t>(code);
        }
    }
}

TEST(Folded, ChangesNothingASecondTimeForRandomText) {
    constexpr std::array<std::pair<char32_t, char32_t>, 16> ranges{{{0x20, 0x7E},
                                                                    {0x20, 0x2F},
                                                                    {0x61, 0x64},
                                                                    {0xA0, 0x24F},
                                                                    {0x2B0, 0x36F},
                                                                    {0x370, 0x52F},
                                                                    {0x438, 0x438},
                                                                    {0x306, 0x308},
                                                                    {0x590, 0x6FF},
                                                                    {0x900, 0xE7F},
                                                                    {0xF40, 0xFBC},
                                                                    {0x1100, 0x11FF},
                                                                    {0x1E00, 0x218F},
                                                                    {0x3000, 0x30FF},
                                                                    {0xAC00, 0xFFFD},
                                                                    {0x10000, 0x1FFFF}}};
    std::mt19937 random(20211); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts on every run
    for (int round = 0; round < 40000; ++round) {
        std::string name;
        const auto length = random() % 12;
        for (unsigned i = 0; i < length; ++i) {
            const auto& [low, high] = ranges.at(random() % ranges.size());
            const auto code = static_cast<char32_t>(low + random() % (high - low + 1));
            if (code < 0xD800 || code > 0xDFFF) text::appendCharacter(name, code);
        }
        const std::string once = folded(name);
        ASSERT_TRUE(text::isUtf8(once));
        ASSERT_EQ(folded(once), once) << testing::PrintToString(name);
    }
}

TEST(Folded, ChangesNothingASecondTimeForRandomBytes) {
    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts on every run
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(random() % 16, ' ');
        for (char& byte : bytes)
            byte = static_cast<char>(random() & 0xFFU);
        const std::string once = folded(bytes);
        ASSERT_EQ(folded(once), once) << testing::PrintToString(bytes);
    }
}

TEST(Folded, TakesAMegabyteOfAnything) {
    constexpr std::size_t megabyte = 1 << 20;
    EXPECT_EQ(folded(std::string(megabyte, 'A')), std::string(megabyte, 'a'));
    EXPECT_EQ(folded(repeated("a.", megabyte)).size(), megabyte / 2);
    EXPECT_EQ(folded(std::string(megabyte, '!')).size(), megabyte);
    EXPECT_EQ(folded("x" + std::string(megabyte, ' ') + "y"), "x y");
}

/** Without the limit this would take quadratic time: canonical ordering moves each mark back over its run. */
TEST(Folded, BoundsRunsOfMarks) {
    constexpr std::size_t megabyte = 1 << 20;
    const std::string above = repeated("\u0301", megabyte);
    const std::string below = repeated("\u0323", megabyte);
    EXPECT_EQ(folded("a" + above + below), "a");
    EXPECT_LT(folded(above + below).size(), 100U);
    EXPECT_LT(folded("क" + repeated("\u094D", megabyte) + repeated("\u093C", megabyte)).size(), 200U);
    const std::string stacked = folded("क" + repeated("\u094D", 90) + "'" + repeated("\u093C", 90));
    EXPECT_EQ(folded(stacked), stacked);
}

TEST(Folded, RefusesWhatIsFarTooLong) {
    const std::string tooLong((std::size_t{64} << 20U) + 1, 'a');
    EXPECT_THROW((void)folded(tooLong), util::Exception);
}

TEST(Words, AreWhatStandsBetweenBlanks) {
    EXPECT_EQ(text::words("the midnight lanterns"),
              (std::vector<std::string>{"the", "midnight", "lanterns"}));
    EXPECT_EQ(text::words("one"), std::vector<std::string>{"one"});
    EXPECT_TRUE(text::words("").empty());
    EXPECT_EQ(text::words("  a  b "), (std::vector<std::string>{"a", "b"}));
}

} // namespace
