// SPDX-License-Identifier: MIT
#include "image/ImageContent.h"
#include "tests/unit/image/ImageFiles.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

using Random = std::mt19937;

std::size_t below(std::size_t limit, Random& random) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

/** Damages the file in one random way, as an accident or an attacker would. */
void mutate(std::string& bytes, Random& random) {
    const std::size_t at = below(bytes.size(), random);
    switch (below(6, random)) {
    case 0:
        bytes[at] = static_cast<char>(bytes[at] ^ 1 << below(8, random));
        break;
    case 1:
        bytes[at] = static_cast<char>(below(256, random));
        break;
    case 2:
        bytes[at] = below(2, random) == 0 ? '\xFF' : '\0';
        break;
    case 3:
        bytes.resize(std::max<std::size_t>(at, 1));
        break;
    case 4:
        bytes.insert(at, bytes.substr(at, 1 + below(40, random)));
        break;
    default:
        bytes.erase(at, 1 + below(20, random));
        break;
    }
    if (bytes.empty()) bytes.push_back('x');
}

/**
 * Whether the bytes were decoded. An exception with an error sentence is fine, too; anything else fails the
 * test.
 */
bool decodes(const std::string& bytes) {
    constexpr image::ImageLimits limits{1'000'000, 1'000'000};
    try {
        util::Image image =
            image::ImageContent::decode(tests::bytesOf(bytes), limits, image::AcceptedTypes::All);
        EXPECT_GT(image.width(), 0);
        EXPECT_FALSE(tests::rawJpg(image).empty());
        EXPECT_FALSE(image::ImageContent::rendition(tests::bytesOf(bytes), limits).empty());
        return true;
    } catch (const util::Exception&) {
        return false;
    }
}

class MutatedImage : public testing::TestWithParam<std::string> {};

TEST_P(MutatedImage, IsDecodedOrRefused) {
    Random random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same mutations each time
    const std::string original = tests::imageBytes(GetParam());
    constexpr int rounds = 1000;
    int refused = 0;
    testing::internal::CaptureStderr(); // libpng prints warnings
    for (int round = 0; round < rounds; ++round) {
        std::string bytes = original;
        for (std::size_t left = 1 + below(4, random); left > 0; --left)
            mutate(bytes, random);
        refused += decodes(bytes) ? 0 : 1;
    }
    testing::internal::GetCapturedStderr();
    EXPECT_GT(refused, 0) << "the mutations do no harm";
}

INSTANTIATE_TEST_SUITE_P(Every, MutatedImage, testing::ValuesIn(tests::imageNames()), [](const auto& test) {
    std::string name = test.param;
    const auto isOther = [](unsigned char c) { return std::isalnum(c) == 0; };
    std::ranges::replace_if(name, isOther, '_');
    return name;
});

} // namespace
