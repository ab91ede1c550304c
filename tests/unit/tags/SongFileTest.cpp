// SPDX-License-Identifier: MIT
#include "tags/SongFile.h"

#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/tags/Songs.h"
#include "util/Exception.h"
#include "util/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <string>
#include <system_error>

namespace {

using tags::SongFile;

std::string numbers(std::size_t count) {
    std::string text;
    while (text.size() < count)
        text += std::to_string(text.size()) + " ";
    return text.substr(0, count);
}

class SongFileTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path() const { return folder_.path() / "song"; }
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }

    [[nodiscard]] std::string written(const SongFile& file) const {
        const std::filesystem::path target = folder() / "written";
        file.writeTo(util::FileDescriptor(
            ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR)));
        return tests::fileBytes(target);
    }

private:
    tests::TemporaryFolder folder_;
};

TEST_F(SongFileTest, BecomesWhatWasReplaced) {
    const std::string content = numbers(1'000'000); // several blocks
    tests::writeFile(path(), content);
    std::mt19937 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same places each time
    const auto upTo = [&](std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random);
    };
    for (int round = 0; round < 20; ++round) {
        SongFile file(path());
        std::string expected = content;
        for (std::size_t change = 0; change < 30; ++change) {
            const std::size_t at = upTo(expected.size());
            const std::size_t length = upTo(std::min<std::size_t>(expected.size() - at, change % 3 * 1'000));
            const std::string bytes(upTo(2'000) * (change % 4), static_cast<char>(97 + change % 26));
            file.replace(at, length, bytes);
            expected.replace(at, length, bytes);
            ASSERT_EQ(file.size(), expected.size());
            const std::size_t looked = upTo(expected.size());
            ASSERT_TRUE(file.readSome(looked, 5'000) == expected.substr(looked, 5'000));
        }
        ASSERT_TRUE(file.read(0, file.size()) == expected);
        ASSERT_TRUE(written(file) == expected);
    }
    EXPECT_TRUE(tests::fileBytes(path()) == content);
}

TEST_F(SongFileTest, KnowsItsNewSize) {
    tests::writeFile(path(), "0123456789");
    SongFile file(path());
    file.replace(10, 0, "abc");
    EXPECT_EQ(file.size(), 13U);
    file.replace(0, 5, "");
    EXPECT_EQ(file.read(0, file.size()), "56789abc");
    EXPECT_THROW(file.replace(7, 2, ""), util::Exception);
    file.replace(0, 8, "");
    EXPECT_EQ(file.size(), 0U);
    EXPECT_EQ(written(file), "");
}

TEST_F(SongFileTest, IsWrittenToAnotherFileSystem) {
    tests::writeFile(path(), numbers(1'000'000));
    SongFile file(path());
    file.replace(3, 4, "words");
    const util::FileDescriptor memory(::memfd_create("song", MFD_CLOEXEC));
    file.writeTo(memory);
    const std::string there = "/proc/self/fd/" + std::to_string(memory.get());
    EXPECT_TRUE(tests::fileBytes(there) == file.read(0, file.size()));
}

TEST_F(SongFileTest, ReadsNothingBehindTheEnd) {
    tests::writeFile(path(), "0123456789");
    const SongFile file(path());
    EXPECT_EQ(file.readSome(8, 10), "89");
    EXPECT_EQ(file.readSome(11, 10), "");
    EXPECT_THROW((void)file.read(8, 3), util::Exception);
    EXPECT_THROW((void)file.read(0, tags::maxTagBytes + 1), util::Exception);
}

TEST_F(SongFileTest, OpensRegularFilesOnly) {
    tests::writeFile(folder() / "empty", "");
    ASSERT_EQ(mkfifo((folder() / "fifo").c_str(), 0600), 0);
    EXPECT_THROW(SongFile(folder() / "empty"), util::Exception);
    EXPECT_THROW(SongFile(folder() / "fifo"), util::Exception);
    EXPECT_THROW(SongFile(folder() / "missing"), util::Exception);
    EXPECT_THROW(SongFile{folder()}, util::Exception);
}

TEST_F(SongFileTest, ReportsAFullDiskAtOnce) {
    tests::writeFile(path(), numbers(5'000));
    SongFile file(path());
    file.replace(0, 0, std::string(2'000, 'x'));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{6'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW((void)written(file), std::system_error);
    setrlimit(RLIMIT_FSIZE, &before);
    (void)std::signal(SIGXFSZ, handler);
}

TEST_F(SongFileTest, ComparesRangesWithoutRegardToTheirLimits) {
    tests::writeFile(path(), "abcdef");
    tests::writeFile(folder() / "other", "xxabcyydefzz");
    const SongFile one(path());
    const SongFile other(folder() / "other");
    EXPECT_TRUE(sameBytes(one, {{0, 6}}, other, {{2, 3}, {5, 0}, {7, 3}}));
    EXPECT_TRUE(sameBytes(one, {{0, 1}, {1, 5}}, other, {{2, 3}, {7, 3}}));
    EXPECT_FALSE(sameBytes(one, {{0, 6}}, other, {{2, 3}, {7, 4}}));
    EXPECT_FALSE(sameBytes(one, {{0, 6}}, other, {{2, 3}, {6, 3}}));
    EXPECT_TRUE(sameBytes(one, {}, other, {{3, 0}}));
}

} // namespace
