// SPDX-License-Identifier: MIT
#include "util/XMLParser.h"

#include <gtest/gtest.h>

using util::XMLParser;

namespace {

constexpr const char* answer = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
                               "<Upload>\n  <Error code=\"0\">OK</Error>\n</Upload>\n";

} // namespace

TEST(XMLParserContract, EncodesThreeCharacters) {
    EXPECT_EQ(XMLParser::encode("a < b & c > d"), "a &lt; b &amp; c &gt; d");
    EXPECT_EQ(XMLParser::encode("<&>"), "&lt;&amp;&gt;");
    EXPECT_EQ(XMLParser::encode("&amp;"), "&amp;amp;");
}

TEST(XMLParserContract, EncodeLeavesEveryOtherByte) {
    std::string others;
    for (int byte = 0; byte < 256; ++byte) {
        if (byte != '&' && byte != '<' && byte != '>') others += static_cast<char>(byte);
    }
    EXPECT_EQ(XMLParser::encode(others), others);
    EXPECT_EQ(XMLParser::encode(""), "");
}

TEST(XMLParserContract, ParsesAnAnswer) { EXPECT_TRUE(XMLParser().parse(answer)); }

TEST(XMLParserContract, ParsesNoEmptyDocument) { EXPECT_FALSE(XMLParser().parse("")); }

TEST(XMLParserContract, AStylesheetThatIsNotThereGivesNothing) {
    XMLParser parser;
    ASSERT_TRUE(parser.parse(answer));
    EXPECT_EQ(parser.transform("no-such-stylesheet.xsl"), "");
    EXPECT_EQ(parser.transform("/no/such/stylesheet.xsl"), "");
    EXPECT_EQ(parser.transform(""), "");
}

TEST(XMLParserContract, WithoutADocumentNothingIsTransformed) {
    XMLParser parser;
    EXPECT_EQ(parser.transform("no-such-stylesheet.xsl"), "");
}
