// SPDX-License-Identifier: MIT
#include "bridge/Command.h"

#include "bridge/Failure.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <string_view>

namespace {

using bridge::Command;
using bridge::Failure;

/** The code and the sentence of what `action` throws. */
std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Failure& e) {
        return std::to_string(static_cast<int>(e.code())) + " " + e.what();
    }
    return "nothing";
}

std::string failureOf(const std::string& document) {
    return failureOf([&] { const Command command(document); });
}

TEST(Command, HasANameAndFields) {
    const Command command("<AddAlbum><Album>Mix</Album><Sampler>1</Sampler></AddAlbum>");
    EXPECT_EQ(command.name(), "AddAlbum");
    EXPECT_EQ(command.text("Album"), "Mix");
    EXPECT_EQ(command.number("Sampler", 0, 1), 1);
    EXPECT_EQ(command.text("Artist"), std::nullopt);
    EXPECT_EQ(command.number("Position", 1, 9), std::nullopt);
}

TEST(Command, TakesADeclarationWhiteSpaceCommentsAndAttributes) {
    const Command command("\r\n <?xml version='1.0' encoding='ISO-8859-1'?>\n<Play a='b'> <!-- x -->\n"
                          "  <Position>\n 3\t</Position>\n</Play>\n ");
    EXPECT_EQ(command.name(), "Play");
    EXPECT_EQ(command.number("Position", 1, 9), 3);
}

TEST(Command, ReadsWhatTheDocumentsEncodingSays) {
    const Command command("<?xml version='1.0' encoding='ISO-8859-1'?><A><Album>Bj\xF6rk</Album></A>");
    EXPECT_EQ(command.text("Album"), "Bj\xC3\xB6rk");
}

TEST(Command, ReadsReferencesAndCharacterData) {
    const Command command("<A><Album>R&amp;B<![CDATA[ <1>]]>&#233;</Album></A>");
    EXPECT_EQ(command.text("Album"), "R&B <1>\xC3\xA9");
}

TEST(Command, RefusesWhatIsNoXml) {
    const std::string sentence = "-1 The command is no well-formed XML.";
    for (const char* document : {"", " ", "Play", "<Play>", "<Play/><Stop/>", "<Play/>x", "\xFF\xFE"})
        EXPECT_EQ(failureOf(document), sentence) << document;
    EXPECT_EQ(failureOf(std::string("<Play/>\0", 8)), sentence);
    EXPECT_EQ(failureOf("<!DOCTYPE Play [<!ENTITY e 'x'>]><Play>&e;</Play>"), sentence);
    EXPECT_EQ(failureOf("<Play>" + std::string(Command::maxBytes, ' ') + "</Play>"), sentence);
    std::string deep;
    for (int i = 0; i < 1000; ++i)
        deep += "<a>";
    for (int i = 0; i < 1000; ++i)
        deep += "</a>";
    EXPECT_EQ(failureOf(deep), sentence);
}

TEST(Command, RefusesANamespace) {
    EXPECT_EQ(failureOf("<Play xmlns='urn:x'/>"), "-2 There are no commands in a namespace.");
    EXPECT_EQ(failureOf("<Play><x:Position xmlns:x='urn:x'>1</x:Position></Play>"),
              "-3 The field Position is in a namespace.");
}

TEST(Command, RefusesTextOutsideFields) {
    const std::string sentence = "-3 The command has text outside its fields.";
    EXPECT_EQ(failureOf("<Stop>now</Stop>"), sentence);
    EXPECT_EQ(failureOf("<Play>x<Position>1</Position></Play>"), sentence);
    EXPECT_EQ(failureOf("<Play><Position>1</Position><![CDATA[x]]></Play>"), sentence);
}

TEST(Command, RefusesAFieldThatIsThereTwiceOrHasFields) {
    EXPECT_EQ(failureOf("<Play><Position>1</Position><Position>1</Position></Play>"),
              "-3 The field Position is there twice.");
    EXPECT_EQ(failureOf("<Play><Position><a>1</a></Position></Play>"), "-3 The field Position is no text.");
}

TEST(Command, RefusesUnknownFields) {
    const Command command("<Play><Position>1</Position></Play>");
    command.allowOnly(std::array<std::string_view, 2>{"Position", "Volume"});
    EXPECT_EQ(failureOf([&] { command.allowOnly(std::array<std::string_view, 1>{"Volume"}); }),
              "-3 The field Position is unknown.");
}

TEST(Command, ShowsNoMoreThanTheBeginningOfALongName) {
    const std::string name(5000, 'x');
    const std::string document = "<A><" + name + "><a/></" + name + "></A>";
    EXPECT_EQ(failureOf(document), "-3 The field " + name.substr(0, 60) + "... is no text.");
}

TEST(Command, RefusesTextsThatNoTagHolds) {
    const auto failure = [](const std::string& value) {
        return failureOf(
            [&] { static_cast<void>(Command("<A><Album>" + value + "</Album></A>").text("Album")); });
    };
    EXPECT_EQ(failure(""), "-3 The field Album is empty.");
    EXPECT_EQ(failure(" \n"), "-3 The field Album is empty.");
    EXPECT_EQ(failure("a&#10;kill"), "-3 The field Album has control characters in it.");
    EXPECT_EQ(failure("a\tb"), "-3 The field Album has control characters in it.");
    EXPECT_EQ(failure("a\x7F"), "-3 The field Album has control characters in it.");
    EXPECT_EQ(failure(std::string(900, 'x')), "nothing");
    EXPECT_EQ(failure(std::string(901, 'x')), "-3 The field Album is too long.");
}

TEST(Command, RefusesOtherNumbers) {
    for (const char* value : {"", "x", "-1", "+1", "101", "1.0", "1 2", "0x1", "99999999999999999999"})
        EXPECT_EQ(
            failureOf([&] {
                static_cast<void>(
                    Command("<A><Volume>" + std::string(value) + "</Volume></A>").number("Volume", 0, 100));
            }),
            "-3 The field Volume is no whole number from 0 to 100.")
            << value;
    EXPECT_EQ(Command("<A><Volume>0</Volume></A>").number("Volume", 0, 100), 0);
    EXPECT_EQ(Command("<A><Volume>100</Volume></A>").number("Volume", 0, 100), 100);
}

TEST(Command, MissesWhatIsRequired) {
    EXPECT_EQ(failureOf([] { static_cast<void>(Command::required(std::optional<int>(), "Volume")); }),
              "-3 The field Volume is missing.");
    EXPECT_EQ(Command::required(std::optional<int>(5), "Volume"), 5);
}

} // namespace
