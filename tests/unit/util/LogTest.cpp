// SPDX-License-Identifier: MIT
#include "util/Log.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string>

namespace {

using util::logLine;
using util::printable;

TEST(Printable, LeavesPlainTextAlone) {
    EXPECT_EQ(printable("Tori Amos - \"Crucify\" <1992> & more\\"),
              "Tori Amos - \"Crucify\" <1992> & more\\");
    EXPECT_EQ(printable(""), "");
}

TEST(Printable, LeavesEveryLengthOfUtf8Alone) {
    const std::string text =
        "\xC2\xA0 Bj\xC3\xB6rk \xE2\x82\xAC \xEF\xBF\xBD \xF0\x9F\x8E\xB5 \xF4\x8F\xBF\xBF";
    EXPECT_EQ(printable(text), text);
}

TEST(Printable, ShowsControlCharactersAsNumbers) {
    EXPECT_EQ(printable(std::string("a\0b\n\r\t\x1B[31m\x1F\x7F", 13)),
              R"(a\x00b\x0A\x0D\x09\x1B[31m\x1F\x7F)");
}

TEST(Printable, ShowsC1ControlsAsNumbers) {
    EXPECT_EQ(printable("\xC2\x80\xC2\x9B\xC2\x9F"), R"(\xC2\x80\xC2\x9B\xC2\x9F)");
}

TEST(Printable, ShowsLineSeparatorsAsNumbers) {
    EXPECT_EQ(printable("\xE2\x80\xA8\xE2\x80\xA9"), R"(\xE2\x80\xA8\xE2\x80\xA9)");
}

/** A character from U+2000 to U+207F. A literal of some of these would reverse this line in an editor. */
std::string punctuation(unsigned int code) {
    return {'\xE2', static_cast<char>(0x80U | (code >> 6U & 0x3FU)),
            static_cast<char>(0x80U | (code & 0x3FU))};
}

TEST(Printable, ShowsWhatTurnsTheReadingDirectionAsNumbers) {
    EXPECT_EQ(printable(punctuation(0x202A)), R"(\xE2\x80\xAA)");
    EXPECT_EQ(printable(punctuation(0x202E)), R"(\xE2\x80\xAE)");
    EXPECT_EQ(printable(punctuation(0x2066)), R"(\xE2\x81\xA6)");
    EXPECT_EQ(printable(punctuation(0x2069)), R"(\xE2\x81\xA9)");
    for (const unsigned int neighbour : {0x2027U, 0x202FU, 0x2065U, 0x206AU}) {
        EXPECT_EQ(printable(punctuation(neighbour)), punctuation(neighbour));
    }
}

TEST(Printable, ShowsEachByteThatIsNotUtf8AsANumber) {
    EXPECT_EQ(printable("Bj\xF6rk"), R"(Bj\xF6rk)");
    EXPECT_EQ(printable("\x80\xFF"), R"(\x80\xFF)");
    EXPECT_EQ(printable("\xC3"), R"(\xC3)");           // truncated
    EXPECT_EQ(printable("\xE2\x82"), R"(\xE2\x82)");   // truncated
    EXPECT_EQ(printable("\xE2\x82x"), R"(\xE2\x82x)"); // truncated before "x"
    EXPECT_EQ(printable("\xC0\x8A"), R"(\xC0\x8A)");   // a line feed in overlong form
    EXPECT_EQ(printable("\xE0\x80\x8A"), R"(\xE0\x80\x8A)");
    EXPECT_EQ(printable("\xF0\x80\x80\x8A"), R"(\xF0\x80\x80\x8A)");
    EXPECT_EQ(printable("\xED\xA0\x80"), R"(\xED\xA0\x80)");         // a surrogate
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), R"(\xF4\x90\x80\x80)"); // beyond the last code point
    EXPECT_EQ(printable("\xF8\x88\x80\x80\x80"), R"(\xF8\x88\x80\x80\x80)");
}

TEST(Printable, CutsWhatIsTooLong) {
    EXPECT_EQ(printable(std::string(200, 'x')), std::string(200, 'x'));
    EXPECT_EQ(printable(std::string(201, 'x')), std::string(200, 'x') + "...");
    EXPECT_EQ(printable("abcdef", 3), "abc...");
    EXPECT_EQ(printable("abc", 3), "abc");
    EXPECT_EQ(printable("abc", 0), "...");
}

TEST(Printable, CutsBetweenCharacters) {
    EXPECT_EQ(printable("ab\xE2\x82\xAC", 4), "ab...");
    EXPECT_EQ(printable("ab\xE2\x82\xAC", 5), "ab\xE2\x82\xAC");
    EXPECT_EQ(printable("ab\n", 5), "ab...");
    EXPECT_EQ(printable("ab\n", 6), R"(ab\x0A)");
}

/** Redirects standard error to a pipe in packet mode, so that each write() can be read separately. */
class CapturedError {
public:
    CapturedError() {
        if (::pipe2(pipe_.data(), O_DIRECT | O_NONBLOCK | O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        saved_ = ::dup(STDERR_FILENO);
        ::dup2(pipe_[1], STDERR_FILENO);
    }
    CapturedError(const CapturedError&) = delete;
    CapturedError& operator=(const CapturedError&) = delete;
    ~CapturedError() {
        ::dup2(saved_, STDERR_FILENO);
        for (const int fd : {saved_, pipe_[0], pipe_[1]})
            ::close(fd);
    }

    /** The text of the next write(); empty if there is none. */
    [[nodiscard]] std::string nextWrite() const {
        std::array<char, 4096> packet{};
        const ssize_t size = ::read(pipe_[0], packet.data(), packet.size());
        return size > 0 ? std::string(packet.data(), static_cast<std::size_t>(size)) : std::string();
    }

private:
    std::array<int, 2> pipe_{};
    int saved_ = -1;
};

TEST(LogLine, WritesOneLineInOneGo) {
    const CapturedError error;
    logLine("The store is read-only.");
    EXPECT_EQ(error.nextWrite(), "sleevery.fcgi: The store is read-only.\n");
    EXPECT_EQ(error.nextWrite(), "");
}

TEST(LogLine, NamesAnotherProgram) {
    const CapturedError error;
    logLine("It listens.", "sleevery-bridge");
    EXPECT_EQ(error.nextWrite(), "sleevery-bridge: It listens.\n");
}

TEST(LogLine, LetsNoMessageForgeALine) {
    const CapturedError error;
    logLine("name\nsleevery.fcgi: forged");
    EXPECT_EQ(error.nextWrite(), "sleevery.fcgi: name\\x0Asleevery.fcgi: forged\n");
    EXPECT_EQ(error.nextWrite(), "");
}

TEST(LogLine, CutsALongMessage) {
    const CapturedError error;
    logLine(std::string(5000, 'x'));
    EXPECT_EQ(error.nextWrite(), "sleevery.fcgi: " + std::string(2000, 'x') + "...\n");
}

} // namespace
