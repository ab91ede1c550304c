// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tags/FrontCover.h"
#include "tags/Verification.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/tags/SongTest.h"
#include "tests/unit/tags/Songs.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <string>

namespace {

using Random = std::mt19937;

std::size_t below(std::size_t limit, Random& random) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

/** Mostly near the beginning or the end of the file, where the tags are. Damaged sound proves nothing. */
std::size_t placeIn(const std::string& bytes, Random& random) {
    const std::size_t head = std::min<std::size_t>(bytes.size(), 3000);
    switch (below(8, random)) {
    case 0:
        return below(bytes.size(), random);
    case 1:
    case 2:
        return bytes.size() - 1 - below(head, random);
    default:
        return below(head, random);
    }
}

void putNumber(std::string& bytes, std::size_t at, Random& random) {
    constexpr std::array numbers{0U,      1U,          7U,          8U,          0x7FU,      0x80U,
                                 0xFFFFU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF8U, 0xFFFFFFFFU};
    const std::uint32_t number = numbers.at(below(numbers.size(), random));
    const std::string text =
        below(2, random) == 0 ? tags::bigEndian(number, 4) : tags::littleEndian(number, 4);
    bytes.replace(at, std::min(text.size(), bytes.size() - at), text, 0,
                  std::min(text.size(), bytes.size() - at));
}

/** Damages the bytes in one way that occurs by accident or in an attack. */
void mutate(std::string& bytes, Random& random) {
    const std::size_t at = placeIn(bytes, random);
    switch (below(8, random)) {
    case 0:
        bytes[at] = static_cast<char>(bytes[at] ^ 1 << below(8, random));
        break;
    case 1:
        bytes[at] = static_cast<char>(below(256, random));
        break;
    case 2:
        putNumber(bytes, at, random);
        break;
    case 3:
        if (below(4, random) == 0) bytes.resize(at + 1);
        break;
    case 4: { // copies a part to another place
        const std::string part = bytes.substr(at, 1 + below(below(2, random) == 0 ? 40 : 2000, random));
        bytes.insert(placeIn(bytes, random), part);
        break;
    }
    case 5:
        bytes.erase(at, 1 + below(20, random));
        break;
    case 6:
        bytes[at] = static_cast<char>(bytes[at] + 1);
        break;
    default:
        bytes[at] = static_cast<char>(bytes[at] - 1);
        break;
    }
    if (bytes.empty()) bytes.push_back('x');
}

/**
 * Whether the song takes the cover. A refusal with util::Exception is correct too; anything else fails the
 * test.
 */
bool takesCover(const std::filesystem::path& song, const std::string& cover) {
    std::filesystem::path tagged = song;
    tagged += ".tagged";
    try {
        (void)tags::readFrontCover(song);
        (void)tags::alreadyHas(song, tests::bytesOf(cover));
        tests::writeCover(song, cover, tagged);
        tags::verify(song, tagged, tests::bytesOf(cover));
        EXPECT_TRUE(tags::alreadyHas(tagged, tests::bytesOf(cover)));
        return true;
    } catch (const util::Exception&) {
        return false;
    }
}

class MutatedSong : public testing::TestWithParam<std::string> {};

TEST_P(MutatedSong, TakesTheCoverOrIsRefused) {
    const auto shuffled = static_cast<unsigned int>(testing::UnitTest::GetInstance()->random_seed());
    Random random(17 + shuffled); // the same mutations each time, unless --gtest_shuffle asks for others
    const bool thorough = std::getenv("SLEEVERY_LONG") != nullptr; // NOLINT(concurrency-mt-unsafe)
    const int rounds = thorough ? 1500 : 100;
    const tests::TemporaryFolder folder;
    const std::string cover = tests::jpeg(tests::picture(8, 8, 3));
    const std::string front = tests::png(tests::picture(8, 8, 1));
    const std::string back = tests::png(tests::picture(8, 8, 2));
    int refused = 0;
    for (const int version : {3, 4}) {
        const std::filesystem::path song = tests::makeSong(GetParam(), folder.path());
        tests::addTags(song, GetParam(), {front, back}, version);
        const std::string original = tests::fileBytes(song);
        for (int round = 0; round < rounds; ++round) {
            std::string bytes = original;
            for (std::size_t left = 1 + below(3, random); left > 0; --left)
                mutate(bytes, random);
            tests::writeFile(song, bytes);
            refused += takesCover(song, cover) ? 0 : 1;
            if (testing::Test::HasFailure()) return tests::writeFile(GetParam() + ".failed", bytes);
        }
        std::filesystem::remove(song);
    }
    EXPECT_GT(refused, 0) << "the mutations do no harm";
}

INSTANTIATE_TEST_SUITE_P(Kind, MutatedSong, testing::ValuesIn(tests::songKinds()),
                         [](const auto& test) { return test.param; });

} // namespace
