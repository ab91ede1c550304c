// SPDX-License-Identifier: MIT
#include "app/DeviceReply.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

std::string reply(const std::string& body, const std::string& contentType = "text/xml") {
    return app::deviceReply({.status = 200, .contentType = contentType, .body = body, .retryAfter = {}});
}

std::string failure(int status, const std::string& body, const std::string& contentType = "text/xml") {
    try {
        (void)app::deviceReply(
            {.status = status, .contentType = contentType, .body = body, .retryAfter = {}});
        return "";
    } catch (const util::Exception& e) {
        return e.what();
    }
}

TEST(DeviceReply, LosesItsDeclarationWithTheBlanksAroundIt) {
    for (const char* declaration :
         {"<?xml version=\"1.0\"?>", "<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n",
          "\n <?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n\r\n  ", "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n",
          "<?xml\nversion=\"1.0\"\n?>", "\xEF\xBB\xBF", ""})
        EXPECT_EQ(reply(declaration + "<A>ü</A>\n"s), "<A>ü</A>\n") << declaration;
    EXPECT_EQ(reply("<?xml version=\"1.0\"?>\n"), "");
}

TEST(DeviceReply, LosesNothingElse) {
    for (const char* body :
         {"", " \n", " <A/> ", "no <xml", "<?xml-stylesheet href=\"a.xsl\"?><A/>",
          "<?xmlversion=\"1.0\"?><A/>", "<?xml version=\"1.0\"", "<?xml", "<A/><?xml version=\"1.0\"?>"})
        EXPECT_EQ(reply(body), body);
    EXPECT_EQ(reply("<A>\0</A>"s), "<A>\0</A>"s);
    EXPECT_EQ(reply("<?xml version=\"1.0\"?><?xml version=\"1.0\"?>"), "<?xml version=\"1.0\"?>");
}

TEST(DeviceReply, ComesToUtf8ByItsDeclaration) {
    EXPECT_EQ(reply("<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?><A>\xA4\xFC</A>"), "<A>€ü</A>");
    EXPECT_EQ(reply("<?xml version='1.0' encoding = 'Shift_JIS'?><A>\x93\x8C</A>", ""), "<A>東</A>");
}

TEST(DeviceReply, BelievesItsTypeMoreThanItsDeclaration) {
    const std::string body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><A>\xE4</A>";
    for (const char* type : {"text/xml; charset=iso-8859-1", "text/xml;Charset=\"ISO-8859-1\"; x=y",
                             "application/xml ; charset=ISO-8859-1 "})
        EXPECT_EQ(reply(body, type), "<A>ä</A>") << type;
}

TEST(DeviceReply, BelievesAByteOrderMarkMost) {
    const std::string utf16 = "\xFF\xFE<\0A\0>\0\xE4\0<\0/\0A\0>\0"s;
    EXPECT_EQ(reply(utf16, "text/xml; charset=iso-8859-1"), "<A>ä</A>");
}

TEST(DeviceReply, IsNoUtf16WhateverItClaims) {
    EXPECT_EQ(reply("<?xml version=\"1.0\" encoding=\"utf-16\"?>\n<A>ü</A>"), "<A>ü</A>");
    EXPECT_EQ(reply("<?xml version=\"1.0\" encoding=\"utf-16\"?><A>\xFC</A>", "text/xml; charset=iso-8859-1"),
              "<A>ü</A>");
    EXPECT_EQ(reply("<A>ü</A>", "text/xml; charset=UTF-16LE"), "<A>ü</A>");
    EXPECT_EQ(reply("<\0A\0/\0>\0"s, "text/xml; charset=UTF-16LE"), "<A/>");
}

TEST(DeviceReply, IsUtf8WhateverItClaims) {
    EXPECT_EQ(reply("<A>\xE4\x80</A>"), "<A>ä€</A>");
    EXPECT_EQ(reply("<A>\xE4</A>", "text/xml; charset=utf-8"), "<A>ä</A>");
}

TEST(DeviceReply, IsRefusedInAnEncodingThatNobodyKnows) {
    EXPECT_EQ(failure(200, "<A/>", "text/xml; charset=x-own"),
              "The appliance's answer is in an unknown encoding.");
    EXPECT_EQ(failure(200, "<?xml version='1.0' encoding='x-own'?><A/>"),
              "The appliance's answer is in an unknown encoding.");
}

TEST(DeviceReply, EverySuccessIsOne) {
    for (const int status : {200, 201, 204, 299})
        EXPECT_EQ(failure(status, "<A/>"), "") << status;
}

TEST(DeviceReply, AnyOtherStatusIsAFailure) {
    for (const int status : {100, 199, 300, 302, 404, 500, 503})
        for (const char* body : {"", "<html>Oops</html>", "no <xml", "<Errors>x</Errors>"})
            EXPECT_EQ(failure(status, body),
                      "The appliance answered with status " + std::to_string(status) + ".");
    EXPECT_EQ(failure(503, "<A/>", "text/xml; charset=x-own"), "The appliance answered with status 503.");
}

TEST(DeviceReply, AFailureGivesItsReason) {
    EXPECT_EQ(
        failure(503,
                "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<Error code=\"-6\">No M\xFCsic.</Error>"),
        "The appliance answered with status 503: No Müsic.");
}

TEST(DeviceRefusal, IsTheTextOfAnError) {
    EXPECT_EQ(app::deviceRefusal("<Error code=\"-2\">Unknown.</Error>"), "Unknown.");
    EXPECT_EQ(app::deviceRefusal("<Error code=\"-2\"/>"), "It does not say why.");
    for (const char* reply : {"", "no <xml", "<AlbumSongs/>", "<A><Error>x</Error></A>", "<Error>"})
        EXPECT_EQ(app::deviceRefusal(reply), "") << reply;
}

TEST(DeviceRefusal, IsFitForASentence) {
    EXPECT_EQ(app::deviceRefusal("<Error>&lt;b&gt;a &amp;\nb\x7F</Error>"), "ba b");
    EXPECT_EQ(app::deviceRefusal("<Error>" + std::string(1000, 'x') + "</Error>"), std::string(500, 'x'));
    EXPECT_EQ(app::deviceRefusal("<Error>" + std::string(499, 'x') + "ü</Error>"), std::string(499, 'x'));
    EXPECT_EQ(app::deviceRefusal("<Error>" + std::string(100'000, 'x') + "</Error>"), "");
    EXPECT_EQ(app::deviceRefusal("<!DOCTYPE Error [<!ENTITY e \"x\">]><Error>&e;</Error>"), "");
}

} // namespace
