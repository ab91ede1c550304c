// SPDX-License-Identifier: MIT
#include "util/Image.h"

#include "tests/cgi/contract/Png.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

using util::Image;

namespace {

/** The image as PNG; empty when there is none. */
std::string png(Image& image) {
    void* data = nullptr;
    std::size_t size = 0;
    const bool encoded = image.getRawPNG(&data, size);
    const std::unique_ptr<void, decltype([](void* block) { std::free(block); })> owner(data); // NOLINT
    EXPECT_EQ(encoded, data != nullptr);
    return encoded ? std::string(static_cast<const char*>(data), size) : std::string();
}

bool isPng(const std::string& bytes) { return bytes.rfind("\x89PNG\r\n\x1a\n", 0) == 0; }

} // namespace

TEST(ImageContract, IsEmptyAtFirst) {
    Image image;
    EXPECT_FALSE(image.isValid());
    EXPECT_EQ(png(image), "");
}

TEST(ImageContract, HoldsWhatItIsGiven) {
    Image image;
    EXPECT_TRUE(image.set(onePixelPng, sizeof onePixelPng));
    EXPECT_TRUE(image.isValid());
    EXPECT_TRUE(isPng(png(image)));
    EXPECT_TRUE(isPng(png(image))) << "it can be asked for more than once";
}

TEST(ImageContract, NoBytesLeaveItUnchanged) {
    Image image;
    EXPECT_FALSE(image.set(nullptr, 0));
    EXPECT_FALSE(image.isValid());
    ASSERT_TRUE(image.set(onePixelPng, sizeof onePixelPng));
    EXPECT_FALSE(image.set(nullptr, 0));
    EXPECT_TRUE(image.isValid());
}

TEST(ImageContract, ACopyIsAnImageOfItsOwn) {
    auto image = std::make_unique<Image>();
    ASSERT_TRUE(image->set(onePixelPng, sizeof onePixelPng));
    Image copy(*image);
    Image assigned;
    assigned = *image;
    image.reset();
    EXPECT_TRUE(isPng(png(copy)));
    EXPECT_TRUE(isPng(png(assigned)));
    assigned = Image();
    EXPECT_FALSE(assigned.isValid());
    EXPECT_TRUE(copy.isValid());
}

TEST(ImageContract, AssigningToItselfChangesNothing) {
    Image image;
    ASSERT_TRUE(image.set(onePixelPng, sizeof onePixelPng));
    const Image& same = image;
    image = same;
    EXPECT_TRUE(isPng(png(image)));
}
