// SPDX-License-Identifier: MIT
#include "xml/XMLParser.h"

#include "tests/unit/xml/Stylesheets.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <libxml/globals.h>

#include <string>
#include <utility>
#include <vector>

using tests::answer;
using tests::making;
using tests::printing;
using tests::stylesheet;
using util::XMLParser;

namespace {

using Values = std::vector<std::string>;

constexpr const char* songs =
    "<Songs><Song id='1'>One</Song><Song id='2'>Two</Song><Song id='3'><b>Th</b>ree</Song></Songs>";

Values selected(const std::string& document, const std::string& xpath,
                const XMLParser::Namespaces& namespaces = {}) {
    XMLParser parser;
    EXPECT_TRUE(parser.parse(document));
    return parser.select(xpath, namespaces);
}

std::string shipped(const std::string& name) { return std::string(SLEEVERY_SOURCE_DIR) + "/xslt/" + name; }

class ShippedStylesheets : public tests::Stylesheets {};
class Transform : public tests::Stylesheets {};

} // namespace

TEST(Encode, ReplacesWhatMarkupIsMadeOf) {
    EXPECT_EQ(XMLParser::encode("<&>"), "&lt;&amp;&gt;");
    EXPECT_EQ(XMLParser::encode("a < b & c > d &lt;"), "a &lt; b &amp; c &gt; d &amp;lt;");
}

TEST(Encode, LeavesEveryOtherByteAsItIs) {
    std::string others;
    for (int byte = 0; byte < 256; ++byte)
        if (byte != '&' && byte != '<' && byte != '>') others += static_cast<char>(byte);
    EXPECT_EQ(XMLParser::encode(others), others);
    EXPECT_EQ(XMLParser::encode(""), "");
}

TEST(Encode, GivesWhatTheParserReadsAsTheSameText) {
    const std::string text = "]]> <b>&amp;</b> \"quoted\" 'twice'";
    EXPECT_EQ(selected("<a>" + XMLParser::encode(text) + "</a>", "/a"), Values{text});
}

TEST(Parse, TakesAnAnswer) { EXPECT_TRUE(XMLParser().parse(answer)); }

TEST(Parse, TakesADocumentWithoutADeclaration) {
    EXPECT_TRUE(XMLParser().parse("<Exception>\nNo such cover</Exception>\n"));
}

TEST(Parse, RefusesWhatIsNotOneWellFormedDocument) {
    const std::string whole = answer;
    for (const std::string& document :
         {std::string(), std::string("  \n"), std::string("text"), whole.substr(0, whole.size() - 3),
          whole.substr(0, 60), whole + "<More/>", whole + "more", std::string("<a>&unknown;</a>"),
          std::string("<a>&</a>"), std::string("<a b=c/>"), std::string("<a>\x01</a>"),
          std::string("<a:b/>").substr(0, 4), std::string("<a></b>")}) {
        XMLParser parser;
        EXPECT_FALSE(parser.parse(document)) << document;
    }
}

TEST(Parse, RefusesAZeroByteWhateverFollows) {
    using namespace std::string_literals;
    EXPECT_FALSE(XMLParser().parse("<a/>\0"s));
    EXPECT_FALSE(XMLParser().parse("<a/>\0<b/>"s));
    EXPECT_FALSE(XMLParser().parse("<a>\0</a>"s));
    EXPECT_FALSE(XMLParser().parse("<a/>"s + std::string(100'000, ' ') + "\0<b/>"s));
}

TEST(Parse, ReadsTheEncodingThatTheDeclarationNames) {
    const std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>M\xFCller \x80\xFF</a>";
    EXPECT_EQ(selected(latin, "/a"), Values{"M\xC3\xBCller \xC2\x80\xC3\xBF"});
    EXPECT_EQ(selected("<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>M\xC3\xBCller</a>", "/a"),
              Values{"M\xC3\xBCller"});
}

TEST(Parse, ReadsAnyLengthInThatEncoding) {
    std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>";
    for (int i = 0; i < 300'000; ++i)
        latin += "<b>\xE9</b>";
    EXPECT_EQ(selected(latin + "</a>", "count(//b[. = '\xC3\xA9'])"), Values{"300000"});
}

TEST(Parse, ReadsUtf16) {
    std::string wide = "\xFF\xFE";
    for (const char c : std::string("<a>text</a>"))
        wide.append({c, '\0'});
    EXPECT_EQ(selected(wide, "/a"), Values{"text"});
}

TEST(Parse, RefusesBytesThatTheEncodingDoesNotHave) {
    EXPECT_FALSE(XMLParser().parse("<a>M\xFCller</a>"));
    EXPECT_FALSE(XMLParser().parse("<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>M\xFCller</a>"));
    EXPECT_FALSE(XMLParser().parse("<?xml version=\"1.0\" encoding=\"no-such-thing\"?><a/>"));
}

TEST(Parse, SaysInOneLineWhatIsWrong) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(XMLParser().parse("<a>\n<b>\n</a>\n<c>"));
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
    EXPECT_NE(said.find("line 3"), std::string::npos) << said;
}

TEST(Parse, HoldsTheLastDocumentOnly) {
    XMLParser parser;
    ASSERT_TRUE(parser.parse("<a>1</a>"));
    ASSERT_TRUE(parser.parse("<a>2</a>"));
    EXPECT_EQ(parser.select("/a"), Values{"2"});
    EXPECT_FALSE(parser.parse("<a>"));
    EXPECT_THROW(static_cast<void>(parser.select("/a")), util::Exception);
}

TEST(Parse, LeavesTheErrorFunctionsOfTheThreadAsTheyWere) {
    int own = 0;
    xmlSetStructuredErrorFunc(&own, [](void* count, xmlErrorPtr) noexcept { ++*static_cast<int*>(count); });
    EXPECT_FALSE(XMLParser().parse("<a>"));
    EXPECT_EQ(own, 0);
    EXPECT_EQ(xmlStructuredErrorContext, &own);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
}

TEST(Select, GivesStringValuesInDocumentOrder) {
    EXPECT_EQ(selected(songs, "//Song"), (Values{"One", "Two", "Three"}));
    EXPECT_EQ(selected(songs, "//Song[3]/preceding-sibling::Song"), (Values{"One", "Two"}));
    EXPECT_EQ(selected(songs, "//Song[3]|//Song[1]|//Song[1]"), (Values{"One", "Three"}));
}

TEST(Select, GivesAttributesAndTexts) {
    EXPECT_EQ(selected(songs, "//@id"), (Values{"1", "2", "3"}));
    EXPECT_EQ(selected(songs, "//Song/text()"), (Values{"One", "Two", "ree"}));
}

TEST(Select, GivesTheOneValueOfWhatIsNoNodeSet) {
    EXPECT_EQ(selected(songs, "count(//Song)"), Values{"3"});
    EXPECT_EQ(selected(songs, "string(//Song[2])"), Values{"Two"});
    EXPECT_EQ(selected(songs, "count(//Song) > 5"), Values{"false"});
}

TEST(Select, GivesNothingWhereNothingMatches) {
    EXPECT_EQ(selected(songs, "//Album"), Values{});
    EXPECT_EQ(selected("<a/>", "/a"), Values{""});
}

TEST(Select, KnowsNamespacesByTheCallersPrefix) {
    const std::string document = "<m:a xmlns:m='urn:music'><m:b>1</m:b><b>2</b></m:a>";
    EXPECT_EQ(selected(document, "//music:b", {{"music", "urn:music"}}), Values{"1"});
    EXPECT_EQ(selected(document, "//b"), Values{"2"});
}

TEST(Select, ThrowsForAWrongExpression) {
    XMLParser parser;
    ASSERT_TRUE(parser.parse(songs));
    for (const char* xpath : {"", "//Song[", "nothing(1)", "//unknown:b", "1 +", "$variable"}) {
        testing::internal::CaptureStderr();
        EXPECT_THROW(static_cast<void>(parser.select(xpath)), util::Exception) << xpath;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
    }
    EXPECT_THROW(static_cast<void>(parser.select("//Song", {{"", "urn:music"}})), util::Exception);
    EXPECT_EQ(parser.select("//@id"), (Values{"1", "2", "3"}));
}

TEST(Select, ThrowsWithoutADocument) {
    EXPECT_THROW(static_cast<void>(XMLParser().select("/")), util::Exception);
}

TEST(Select, EndsAnExpressionThatTakesForEver) {
    std::string document = "<a>";
    for (int i = 0; i < 2000; ++i)
        document += "<b/>";
    XMLParser parser;
    ASSERT_TRUE(parser.parse(document + "</a>"));
    EXPECT_THROW(static_cast<void>(parser.select("count(//b[count(//b[count(//b) > 1]) > 1])")),
                 util::Exception);
}

TEST_F(Transform, GivesTheWholeResultAsSerialised) {
    write("copy.xsl",
          stylesheet("<xsl:template match='/'><out><xsl:copy-of select='//Album'/></out></xsl:template>"));
    EXPECT_EQ(transform("copy.xsl"),
              "<?xml version=\"1.0\"?>\n<out><Album>Paper &amp; Lanterns</Album></out>\n");
    EXPECT_EQ(said, "");
}

TEST_F(Transform, SerialisesByTheOutputMethod) {
    write("text.xsl", printing("//Title"));
    EXPECT_EQ(transform("text.xsl"), "[Quiet <Harbour>]");
    write("html.xsl", stylesheet("<xsl:template match='/'><html><body><br/></body></html></xsl:template>"));
    EXPECT_EQ(transform("html.xsl"), "<html><body><br></body></html>\n");
    write("latin.xsl", stylesheet("<xsl:output method='xml' encoding='ISO-8859-1'/>"
                                  "<xsl:template match='/'><a>&#233;&#8364;</a></xsl:template>"));
    EXPECT_EQ(transform("latin.xsl"),
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\xE9&#8364;</a>\n");
}

TEST_F(Transform, KeepsTheDeclarationOfAUsedNamespace) {
    write("fo.xsl", stylesheet("<xsl:template match='/'><fo:root "
                               "xmlns:fo='http://www.w3.org/1999/XSL/Format'/></xsl:template>"));
    EXPECT_NE(transform("fo.xsl").find("xmlns:fo=\"http://www.w3.org/1999/XSL/Format\""), std::string::npos);
}

TEST_F(Transform, GivesALargeResultWhole) {
    write("large.xsl", making("<xsl:for-each select='//i'>0123456789</xsl:for-each>"));
    std::string document = "<a>";
    for (int i = 0; i < 100'000; ++i)
        document += "<i/>";
    XMLParser parser;
    ASSERT_TRUE(parser.parse(document + "</a>"));
    EXPECT_EQ(parser.transform("large.xsl").size(), 1'000'000U);
}

TEST_F(Transform, LeavesTheDocumentAsItWas) {
    write("strip.xsl", stylesheet("<xsl:strip-space elements='*'/><xsl:template match='/'><a><xsl:copy-of "
                                  "select='/'/></a></xsl:template>"));
    write("length.xsl", printing("string-length(/Upload)"));
    XMLParser parser;
    ASSERT_TRUE(parser.parse(answer));
    const std::string before = parser.transform("length.xsl");
    EXPECT_NE(parser.transform("strip.xsl"), "");
    EXPECT_EQ(parser.transform("length.xsl"), before);
}

TEST_F(Transform, AnEmptyResultIsNone) {
    write("empty.xsl", making(""));
    EXPECT_EQ(transform("empty.xsl"), "");
    EXPECT_EQ(linesSaid(), 1) << said;
}

TEST_F(Transform, GivesNothingWithoutADocument) {
    write("text.xsl", printing("1"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(XMLParser().transform("text.xsl"), "");
    const std::string noDocument = testing::internal::GetCapturedStderr();
    EXPECT_EQ(noDocument.find('\n'), noDocument.size() - 1) << noDocument;
}

TEST_F(Transform, FindsAnAbsolutePath) {
    const auto path = write("text.xsl", printing("//Image"));
    XMLParser::setUp({});
    EXPECT_EQ(transform(path), "[17]");
    EXPECT_EQ(transform("text.xsl"), "");
}

TEST_F(Transform, LooksIntoTheFoldersInOrder) {
    const auto second = outside() / "second";
    create_directory(second);
    XMLParser::setUp([this, second] { return std::vector{outside() / "none", folder(), second}; });
    write("both.xsl", printing("'first'"));
    write(second / "both.xsl", printing("'second'"));
    write(second / "only.xsl", printing("'only'"));
    EXPECT_EQ(transform("both.xsl"), "[first]");
    EXPECT_EQ(transform("only.xsl"), "[only]");
}

TEST_F(Transform, FindsANameInASubfolder) {
    create_directory(folder() / "sub");
    write("sub/text.xsl", printing("1"));
    EXPECT_EQ(transform("sub/text.xsl"), "[1]");
    EXPECT_EQ(transform("sub/../sub/./text.xsl"), "[1]");
}

TEST_F(Transform, ReadsWhatTheStylesheetRefersTo) {
    create_directory(folder() / "sub");
    write("sub/imported.xsl",
          stylesheet("<xsl:include href='../included.xsl'/>"
                     "<xsl:template name='i'>imported <xsl:call-template name='j'/></xsl:template>"));
    write("included.xsl", stylesheet("<xsl:template name='j'>included </xsl:template>"));
    write("table.xml", "<t>looked up</t>");
    write(
        "main.xsl",
        stylesheet("<xsl:import href='sub/imported.xsl'/><xsl:output method='text'/><xsl:template match='/'>"
                   "<xsl:call-template name='i'/><xsl:value-of "
                   "select=\"document('table.xml')/t\"/></xsl:template>"));
    EXPECT_EQ(transform("main.xsl"), "imported included looked up");
    EXPECT_EQ(said, "");
}

TEST_F(Transform, LetsAStylesheetReadItself) {
    write("self.xsl", printing("document('')/*/@version"));
    EXPECT_EQ(transform("self.xsl"), "[1.0]");
}

TEST_F(Transform, TakesAnyCharacterInAPath) {
    for (const char* name : {"a b", "%20", "#", "?", "\xC3\xA4", "\xE4", "&'\"<>", "a:b"}) {
        const auto odd = folder() / name;
        create_directory(odd);
        write(odd / "main.xsl", stylesheet("<xsl:include href='part.xsl'/>"));
        write(odd / "part.xsl", printing("count(document('')//*) > 0"));
        EXPECT_EQ(transform(odd / "main.xsl"), "[true]") << said;
    }
}

TEST_F(Transform, SaysInOneLineWhereAStylesheetIsWrong) {
    for (const char* wrong :
         {"<xsl:template match='/'>\n<a></b></xsl:template>", "<xsl:template match='/'>\n<a",
          "<xsl:template match='/'>\n<xsl:value-of select='1 +'/></xsl:template>",
          "<xsl:template match='/'>\n<xsl:value-of select='nothing(1)'/></xsl:template>",
          "<xsl:template match='/'>\n<xsl:call-template name='nothing'/></xsl:template>"}) {
        write("wrong.xsl", stylesheet(wrong));
        EXPECT_EQ(transform("wrong.xsl"), "");
        EXPECT_EQ(linesSaid(), 1) << said;
        EXPECT_EQ(said.find("sleevery.fcgi: stylesheet \"wrong.xsl\": "), 0U) << said;
        EXPECT_NE(said.find("line 4"), std::string::npos) << said;
    }
}

TEST_F(Transform, RefusesWhatIsNoStylesheet) {
    for (const char* content : {"", "<a/>", "text", "<xsl:stylesheet/>"}) {
        write("none.xsl", content);
        EXPECT_EQ(transform("none.xsl"), "") << content;
        EXPECT_EQ(linesSaid(), 1) << said;
    }
}

TEST_F(Transform, PassesOnTheStylesheetsMessageInOneLine) {
    write("talking.xsl", making("<xsl:message>100%s\nsure</xsl:message>done"));
    EXPECT_EQ(transform("talking.xsl"), "done");
    EXPECT_EQ(said, "sleevery.fcgi: stylesheet \"talking.xsl\" says: 100%s; sure\n");
    write("ending.xsl", making("<xsl:message terminate='yes'>enough</xsl:message>done"));
    EXPECT_EQ(transform("ending.xsl"), "");
    EXPECT_EQ(linesSaid(), 1) << said;
    EXPECT_NE(said.find("enough"), std::string::npos) << said;
}

TEST_F(Transform, SurvivesFoldersThatCanNotBeTold) {
    XMLParser::setUp(
        []() -> std::vector<std::filesystem::path> { throw util::Exception("The store is gone."); });
    EXPECT_EQ(transform("text.xsl"), "");
    EXPECT_EQ(said, "sleevery.fcgi: stylesheet \"text.xsl\": The store is gone.\n");
}

TEST_F(ShippedStylesheets, TextIsOneLineForEachValue) {
    EXPECT_EQ(transform(shipped("answer-text.xsl")), "Album: Paper & Lanterns\n"
                                                     "Title: Quiet <Harbour>\n"
                                                     "Image: 17\n"
                                                     "Error: OK\n"
                                                     "Error code: 0\n");
    EXPECT_EQ(said, "");
}

TEST_F(ShippedStylesheets, HtmlIsATableForABrowser) {
    const std::string page = transform(shipped("answer-html.xsl"));
    EXPECT_EQ(page.find("<html xmlns:fo=\"http://www.w3.org/1999/XSL/Format\">"), 0U) << page;
    for (const char* part : {"<title>Upload</title>", "<tr><th colspan=\"2\">SongInfo</th></tr>",
                             "<tr>\n<td>Album</td>\n<td>Paper &amp; Lanterns</td>\n</tr>",
                             "<tr>\n<td>Title</td>\n<td>Quiet &lt;Harbour&gt;</td>\n</tr>",
                             "<tr>\n<td>Error code</td>\n<td>0</td>\n</tr>", "</html>"})
        EXPECT_NE(page.find(part), std::string::npos) << part << " in " << page;
    EXPECT_EQ(said, "");
}

TEST_F(ShippedStylesheets, FormattingObjectsDeclareTheirNamespace) {
    const std::string document = transform(shipped("answer-fo.xsl"));
    EXPECT_EQ(selected(document, "/fo:root//fo:block", {{"fo", "http://www.w3.org/1999/XSL/Format"}}),
              (Values{"Upload", "Album: Paper & Lanterns", "Title: Quiet <Harbour>", "Image: 17", "Error: OK",
                      "Error code: 0"}));
    EXPECT_NE(document.find("<fo:root xmlns:fo=\"http://www.w3.org/1999/XSL/Format\">"), std::string::npos)
        << document;
    EXPECT_EQ(said, "");
}

TEST_F(ShippedStylesheets, ShowAnExceptionAsWell) {
    XMLParser parser;
    ASSERT_TRUE(parser.parse("<Exception>\nNo such parameter</Exception>\n"));
    EXPECT_EQ(parser.transform(shipped("answer-text.xsl").c_str()), "Exception: No such parameter\n");
    EXPECT_NE(parser.transform(shipped("answer-html.xsl").c_str()).find("<td>No such parameter</td>"),
              std::string::npos);
    EXPECT_NE(parser.transform(shipped("answer-fo.xsl").c_str()).find(">Exception: No such parameter<"),
              std::string::npos);
}

TEST_F(ShippedStylesheets, TakeAListOfThousands) {
    std::string document = "<Query count=\"5000\">\n";
    for (int i = 0; i < 5000; ++i)
        document += "  <Entry id=\"17\"><Artist>Lowbeam</Artist><Album>Paper Lanterns</Album></Entry>\n";
    XMLParser parser;
    ASSERT_TRUE(parser.parse(document + "</Query>"));
    for (const char* name : {"answer-text.xsl", "answer-html.xsl", "answer-fo.xsl"})
        EXPECT_GT(parser.transform(shipped(name).c_str()).size(), 100'000U) << name;
}

TEST_F(Transform, TextFunctionsDoWhatXPathSays) {
    const std::pair<const char*, const char*> expected[] = {
        {"contains('Quiet Harbour', 'Harb')", "[true]"},
        {"contains('Quiet', 'Harb')", "[false]"},
        {"contains('Quiet', '')", "[true]"},
        {"contains('', 'a')", "[false]"},
        {"contains(17, 7)", "[true]"},
        {"substring-before('1999/04/01', '/')", "[1999]"},
        {"substring-before('1999', '/')", "[]"},
        {"substring-before('1999', '')", "[]"},
        {"substring-after('1999/04/01', '/')", "[04/01]"},
        {"substring-after('1999', '/')", "[]"},
        {"substring-after('1999', '')", "[1999]"},
        {"translate('bar', 'abc', 'AB')", "[BAr]"},
        {"translate('--aaa--', 'abc-', 'ABC')", "[AAA]"},
        {"translate('h\xC3\xA9', '\xC3\xA9h', 'e\xE2\x82\xAC')", "[\xE2\x82\xAC"
                                                                 "e]"},
        {"translate('aa', 'aa', 'xy')", "[xx]"},
        {"translate('', 'a', 'b')", "[]"},
    };
    for (const auto& [expression, value] : expected) {
        write("text.xsl", printing(expression));
        util::XMLParser parser;
        ASSERT_TRUE(parser.parse(answer));
        EXPECT_EQ(parser.transform("text.xsl"), value) << expression;
    }
    for (const char* expression : {"contains('a')", "substring-before('a')", "substring-after('a', 'b', 'c')",
                                   "translate('a', 'b')"}) {
        write("text.xsl", printing(expression));
        util::XMLParser parser;
        ASSERT_TRUE(parser.parse(answer));
        testing::internal::CaptureStderr();
        EXPECT_EQ(parser.transform("text.xsl"), "") << expression;
        testing::internal::GetCapturedStderr();
    }
}
