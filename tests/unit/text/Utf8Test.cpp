// SPDX-License-Identifier: MIT
#include "text/Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_literals;
using text::isUtf8;
using text::toUtf8;

TEST(ToUtf8, LeavesValidUtf8AsItIs) {
    const std::vector<std::string> valid{
        "",
        "plain",
        "a\0b"s,
        "Grüße – 東京 – 🎵",
        "\x7F",
        "\xC2\x80",
        "\xDF\xBF",
        "\xE0\xA0\x80",
        "\xED\x9F\xBF",
        "\xEE\x80\x80",
        "\xEF\xBF\xBF",
        "\xF0\x90\x80\x80",
        "\xF4\x8F\xBF\xBF",
    };
    for (const std::string& text : valid) {
        EXPECT_TRUE(isUtf8(text)) << text;
        EXPECT_EQ(toUtf8(text), text);
    }
}

TEST(IsUtf8, RefusesWhatIsNotWellFormed) {
    const std::vector<std::string> invalid{
        "\x80",             // a single continuation byte
        "\xC0\x80",         // overlong NUL
        "\xC1\xBF",         // overlong in two bytes
        "\xE0\x9F\xBF",     // overlong in three
        "\xF0\x8F\xBF\xBF", // overlong in four
        "\xED\xA0\x80",     // the first surrogate
        "\xED\xBF\xBF",     // the last one
        "\xF4\x90\x80\x80", // U+110000
        "\xF5\x80\x80\x80",
        "\xFF",
        "\xFE",
        "\xC3", // truncated
        "\xE2\x82",
        "\xF0\x9F\x8E",
        "\xC3(",
        "\xE2\x82(",
        "\xF0\x9F\x8E(",
        "a\xC3",
        "seven b\xE9",
        "eight by\xE9",
        "nine byte\xE9",
        "sixteen bytes ..\x80",
    };
    for (const std::string& bytes : invalid)
        EXPECT_FALSE(isUtf8(bytes)) << testing::PrintToString(bytes);
}

TEST(IsUtf8, FindsTheOneBadByteAnywhere) {
    for (std::size_t at = 0; at < 40; ++at) {
        std::string bytes(40, 'x');
        ASSERT_TRUE(isUtf8(bytes));
        bytes[at] = '\xA0';
        EXPECT_FALSE(isUtf8(bytes)) << at;
    }
}

TEST(ToUtf8, ReadsAnythingElseAsWindows1252) {
    EXPECT_EQ(toUtf8("Mot\xF6rhe\xE4"), "Motörheä");
    EXPECT_EQ(toUtf8("\x80\x93\x94\x99\x8A\x9F\xFF"), "€“”™ŠŸÿ");
    EXPECT_EQ(toUtf8("\xA0\xC0\xBF"), "\u00A0À¿");
}

TEST(ToUtf8, ReadsTheWholeTextInOneWay) { EXPECT_EQ(toUtf8("\xC3\xA9 \xE9"), "Ã© é"); }

TEST(ToUtf8, MapsUndefinedBytesToTheControlOfTheSameNumber) {
    EXPECT_EQ(toUtf8("\x81\x8D\x8F\x90\x9D"), "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D");
}

TEST(ToUtf8, GivesUtf8ForEverySingleByteAndPair) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            EXPECT_TRUE(isUtf8(toUtf8(bytes))) << first << ' ' << second;
        }
    }
}

TEST(ToUtf8, KeepsNulsInWhatItConverts) { EXPECT_EQ(toUtf8("a\0\xE9\0"s), "a\0é\0"s); }

TEST(ToUtf8, TakesAMegabyte) {
    const std::string ascii(1 << 20, 'a');
    EXPECT_EQ(toUtf8(ascii), ascii);
    EXPECT_EQ(toUtf8(ascii + '\xE4'), ascii + "ä");
    EXPECT_EQ(toUtf8(std::string(1 << 20, '\x80')).size(), std::size_t{3} << 20U);
}

TEST(FirstCharacter, ReadsBackEveryCharacterThatWasAppended) {
    for (char32_t code = 0; code <= 0x10FFFF; ++code) {
        if (code == 0xD800) code = 0xE000;
        std::string bytes;
        text::appendCharacter(bytes, code);
        const text::Character first = text::firstCharacter(bytes + "x");
        ASSERT_EQ(first.code, code);
        ASSERT_EQ(first.length, bytes.size());
    }
}

TEST(FirstCharacter, HasNoLengthWhereThereIsNone) {
    EXPECT_EQ(text::firstCharacter("").length, 0U);
    EXPECT_EQ(text::firstCharacter("\xA9").length, 0U);
    EXPECT_EQ(text::firstCharacter(std::string_view("é").substr(0, 1)).length, 0U);
}

} // namespace
