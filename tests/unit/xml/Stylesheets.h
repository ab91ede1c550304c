// SPDX-License-Identifier: MIT
#pragma once

#include "tests/unit/TemporaryFolder.h"
#include "xml/XMLParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace tests {

constexpr const char* answer = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
                               "<Upload>\n"
                               "  <SongInfo>\n"
                               "    <Album>Paper &amp; Lanterns</Album>\n"
                               "    <Title>Quiet &lt;Harbour&gt;</Title>\n"
                               "  </SongInfo>\n"
                               "  <Image>17</Image>\n"
                               "  <Error code=\"0\">OK</Error>\n"
                               "</Upload>\n";

/** A stylesheet with `content` at its top level. */
inline std::string stylesheet(std::string_view content) {
    return "<xsl:stylesheet version=\"1.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\"\n"
           " xmlns:x=\"http://xmlsoft.org/XSLT/namespace\" extension-element-prefixes=\"x\">\n" +
           std::string(content) + "\n</xsl:stylesheet>\n";
}

/** A stylesheet that turns any document into `content`. */
inline std::string making(std::string_view content) {
    return stylesheet("<xsl:output method='text'/>\n<xsl:template match='/'>" + std::string(content) +
                      "</xsl:template>");
}

/** A stylesheet that prints the value of `xpath` in square brackets. */
inline std::string printing(std::string_view xpath) {
    return making("[<xsl:value-of select=\"" + std::string(xpath) + "\"/>]");
}

/** Provides a folder of stylesheets, the only one that the parser searches. */
class Stylesheets : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(folder());
        util::XMLParser::setUp([this] { return std::vector{folder()}; });
    }
    void TearDown() override { util::XMLParser::setUp({}); }

    [[nodiscard]] std::filesystem::path outside() const { return temporary_.path(); }
    [[nodiscard]] std::filesystem::path folder() const { return temporary_.path() / "xslt"; }

    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const {
        std::ofstream(folder() / name, std::ios::binary) << content;
        return folder() / name;
    }

    /** Applies the stylesheet `name` to `answer`. Stores the standard error output in `said`. */
    std::string transform(const std::string& name) {
        util::XMLParser parser;
        EXPECT_TRUE(parser.parse(answer));
        testing::internal::CaptureStderr();
        std::string result = parser.transform(name.c_str());
        said = testing::internal::GetCapturedStderr();
        return result;
    }

    [[nodiscard]] auto linesSaid() const { return std::count(said.begin(), said.end(), '\n'); }

    std::string said;

private:
    TemporaryFolder temporary_;
};

} // namespace tests
