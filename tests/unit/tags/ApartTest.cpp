// SPDX-License-Identifier: MIT
#include "tags/Apart.h"

#include "util/Exception.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace std::chrono_literals;
constexpr std::size_t memory = std::size_t{256} * 1024 * 1024;

std::string sentenceOf(const std::function<void()>& work, std::chrono::seconds timeLimit = 30s) {
    try {
        tags::runApart(work, timeLimit, memory);
    } catch (const util::Exception& exception) {
        return exception.what();
    }
    return "";
}

TEST(RunApart, ChangesNothingHere) {
    int number = 1;
    EXPECT_EQ(sentenceOf([&] { number = 2; }), "");
    EXPECT_EQ(number, 1);
}

TEST(RunApart, HandsSentencesOver) {
    EXPECT_EQ(sentenceOf([] { throw util::Exception("It is like this."); }), "It is like this.");
}

TEST(RunApart, SurvivesEveryEnd) {
    EXPECT_NE(sentenceOf([] { throw std::runtime_error("unexpected"); }), "");
    EXPECT_NE(sentenceOf([] { (void)raise(SIGKILL); }), "");
    EXPECT_NE(sentenceOf([] { _exit(3); }), "");
}

TEST(RunApart, EndsWhatTakesTooLong) {
    EXPECT_NE(sentenceOf([] { pause(); }, 1s), "");
}

TEST(RunApart, LimitsMemory) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer needs more than any limit";
#endif
    const auto take = [](std::size_t size) { (void)std::make_unique<std::string>(size, 'x'); };
    EXPECT_EQ(sentenceOf([&] { take(memory / 2); }), "");
    EXPECT_NE(sentenceOf([&] { take(memory * 2); }), "");
}

} // namespace
