// SPDX-License-Identifier: MIT
#include "text/Xml.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string>

namespace {

using namespace std::string_literals;
using text::xmlEscaped;

struct FreeDocument {
    void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
};

struct FreeString {
    void operator()(xmlChar* string) const noexcept { xmlFree(string); }
};

std::string owned(xmlChar* string) {
    const std::unique_ptr<xmlChar, FreeString> guard(string);
    return string == nullptr ? std::string() : reinterpret_cast<const char*>(string);
}

struct ReadBack {
    std::string attribute;
    std::string content;
};

/** Escapes `value`, and reads it back from an attribute and from content. */
ReadBack readBack(const std::string& value) {
    const std::string escaped = xmlEscaped(value);
    const std::string source =
        R"(<?xml version="1.0" encoding="UTF-8"?><e a=")" + escaped + "\">" + escaped + "</e>";
    const std::unique_ptr<xmlDoc, FreeDocument> document(xmlReadMemory(
        source.data(), static_cast<int>(source.size()), nullptr, nullptr, XML_PARSE_HUGE | XML_PARSE_NONET));
    if (!document) return {"not well-formed", source};
    xmlNode* const root = xmlDocGetRootElement(document.get());
    return {owned(xmlGetProp(root, reinterpret_cast<const xmlChar*>("a"))), owned(xmlNodeGetContent(root))};
}

TEST(XmlEscaped, EscapesMarkup) {
    EXPECT_EQ(xmlEscaped(R"(<a href="x">R&B</a>)"), "&lt;a href=&quot;x&quot;&gt;R&amp;B&lt;/a&gt;");
    EXPECT_EQ(xmlEscaped("]]>"), "]]&gt;");
}

TEST(XmlEscaped, EscapesWhatIsEscapedAlready) { EXPECT_EQ(xmlEscaped("&amp;"), "&amp;amp;"); }

TEST(XmlEscaped, WritesLineEndsAndTabsAsReferences) {
    EXPECT_EQ(xmlEscaped("a\tb\r\nc"), "a&#9;b&#13;&#10;c");
}

TEST(XmlEscaped, LeavesOtherTextAsItIs) {
    EXPECT_EQ(xmlEscaped(""), "");
    EXPECT_EQ(xmlEscaped("Don't – Grüße 東京 🎵"), "Don't – Grüße 東京 🎵");
    EXPECT_EQ(xmlEscaped("\x7F\xC2\x81\xF0\x9F\xBF\xBE"), "\x7F\xC2\x81\xF0\x9F\xBF\xBE");
}

TEST(XmlEscaped, DropsForbiddenCharacters) {
    std::string controls;
    for (char code = 0; code < 0x20; ++code) {
        if (code != '\t' && code != '\n' && code != '\r') controls += code;
    }
    EXPECT_EQ(xmlEscaped("a" + controls + "b"), "ab");
    EXPECT_EQ(xmlEscaped("a\xEF\xBF\xBE\xEF\xBF\xBF"s + "b"), "ab");
    EXPECT_EQ(xmlEscaped("\xEF\xBF\xBD"), "\xEF\xBF\xBD");
}

TEST(XmlEscaped, ReplacesEachByteThatIsNotUtf8) {
    EXPECT_EQ(xmlEscaped("a\xE9z"), "a\uFFFDz");
    EXPECT_EQ(xmlEscaped("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD"); // a surrogate
    EXPECT_EQ(xmlEscaped("\xC3"), "\uFFFD");
    EXPECT_EQ(xmlEscaped("\xC0\xBC"), "\uFFFD\uFFFD"); // an overlong "<"
}

TEST(XmlEscaped, IsReadBackTheSameFromContentAndAttribute) {
    for (const std::string value : {"", " two  blanks ", "tab\tline\nreturn\rboth\r\nend", "<![CDATA[x]]>",
                                    "\"'&<>", "Grüße 東京 🎵 \xC2\x85 \u2028"}) {
        const ReadBack back = readBack(value);
        EXPECT_EQ(back.attribute, value);
        EXPECT_EQ(back.content, value);
    }
}

TEST(XmlEscaped, IsWellFormedForEveryByteAndPair) {
    std::string all;
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second)
            all += {static_cast<char>(first), static_cast<char>(second)};
    }
    const ReadBack back = readBack(all);
    EXPECT_NE(back.attribute, "not well-formed");
    EXPECT_EQ(back.attribute, back.content);
}

} // namespace
