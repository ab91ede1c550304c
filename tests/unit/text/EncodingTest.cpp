// SPDX-License-Identifier: MIT
#include "text/Encoding.h"
#include "text/Utf8.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using namespace std::string_literals;

TEST(Decoded, BringsEveryEncodingToUtf8) {
    EXPECT_EQ(text::decoded("Gr\xFC\xDF"
                            "e",
                            "ISO-8859-1"),
              "Grüße");
    EXPECT_EQ(text::decoded("\xA4", "iso-8859-15"), "€");
    EXPECT_EQ(text::decoded("\x93\x8C\x8B\x9E", "Shift_JIS"), "東京");
    EXPECT_EQ(text::decoded("a\0\xFC\0"s, "UTF-16LE"), "aü");
    EXPECT_EQ(text::decoded("\xFE\xFF\0a"s, "UTF-16"), "a");
    EXPECT_EQ(text::decoded("", "ISO-8859-1"), "");
}

TEST(Decoded, TakesUtf8ByAnyOfItsNames) {
    for (const char* name : {"UTF-8", "utf-8", "utf8", "Utf_8"})
        EXPECT_EQ(text::decoded("Grüße", name), "Grüße") << name;
}

TEST(Decoded, ReadsWhatOnlyClaimsToBeUtf8AsWindows1252) {
    EXPECT_EQ(text::decoded("Gr\xFC\x80", "UTF-8"), "Grü€");
}

TEST(Decoded, GivesUtf8WhateverTheBytesAre) {
    for (const char* encoding :
         {"Shift_JIS", "UTF-16LE", "UTF-16", "ISO-8859-1", "UTF-32BE", "UTF-7", "EUC-JP"}) {
        const std::optional<std::string> text = text::decoded("a\xFF\xFF\x80\xD8"
                                                              "b\xDC\0"s,
                                                              encoding);
        ASSERT_TRUE(text) << encoding;
        EXPECT_TRUE(text::isUtf8(*text)) << encoding;
        EXPECT_NE(*text, "") << encoding;
    }
}

TEST(Decoded, KnowsNoEncodingOfAnotherName) {
    for (const char* name : {"x-nobody-knows", "", " ", "ISO-8859-1\n<x>"})
        EXPECT_EQ(text::decoded("abc", name), std::nullopt) << name;
}

TEST(IsWide, TellsUtf16AndUtf32FromTheRest) {
    for (const char* name : {"UTF-16", "utf-16le", "UTF-32", "ISO-10646-UCS-2"})
        EXPECT_TRUE(text::isWide(name)) << name;
    for (const char* name : {"UTF-8", "Shift_JIS", "ISO-8859-1", "x-nobody-knows", ""})
        EXPECT_FALSE(text::isWide(name)) << name;
}

TEST(MarkedEncoding, IsTold) {
    EXPECT_EQ(text::markedEncoding("\xEF\xBB\xBF<a/>"), "UTF-8");
    EXPECT_EQ(text::markedEncoding("\xFF\xFE<\0"s), "UTF-16LE");
    EXPECT_EQ(text::markedEncoding("\xFE\xFF\0<"s), "UTF-16BE");
    EXPECT_EQ(text::markedEncoding("<a/>"), "");
    EXPECT_EQ(text::markedEncoding(""), "");
}

} // namespace
