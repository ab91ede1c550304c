// SPDX-License-Identifier: MIT
#include "tags/SongFile.h"

#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/tags/Songs.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

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

private:
    tests::TemporaryFolder folder_;
};

TEST_F(SongFileTest, MovesWhatFollowsAReplacedPart) {
    const std::string content = numbers(3'500'000); // several blocks
    for (const std::size_t size : {0U, 4U, 7U, 1'000'000U, 2'500'000U}) {
        tests::writeFile(path(), content);
        const std::string bytes(size, '!');
        SongFile(path(), SongFile::Access::Change).replace(1'000, 7, bytes);
        EXPECT_TRUE(tests::fileBytes(path()) == content.substr(0, 1'000) + bytes + content.substr(1'007))
            << size;
    }
}

TEST_F(SongFileTest, KnowsItsNewSize) {
    tests::writeFile(path(), "0123456789");
    SongFile file(path(), SongFile::Access::Change);
    file.replace(10, 0, "abc");
    EXPECT_EQ(file.size(), 13U);
    file.replace(0, 5, "");
    EXPECT_EQ(file.read(0, file.size()), "56789abc");
    EXPECT_THROW(file.replace(7, 2, ""), util::Exception);
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
    SongFile file(path(), SongFile::Access::Change);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{6'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW(file.replace(0, 0, std::string(2'000, 'x')), util::Exception);
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
