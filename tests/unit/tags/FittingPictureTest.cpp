// SPDX-License-Identifier: MIT
#include "tags/FittingPicture.h"

#include "image/ImageHeader.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/image/ImageFiles.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using image::ImageType;
using tags::PictureLimits;
using tests::bytesOf;
using tests::imageBytes;

std::string fitting(const std::string& received, const PictureLimits& limits = {}) {
    return tests::textOf(tags::fittingPicture(bytesOf(received), limits).bytes());
}

image::ImageHeader headerOf(const std::string& picture) {
    return image::readImageHeader(bytesOf(picture), {});
}

TEST(FittingPicture, WhatIsFitIsLeftAsItWasReceived) {
    for (const char* name :
         {"baseline.jpg", "progressive.jpg", "grey.jpg", "rgb.png", "rgba.png", "palette.png"})
        EXPECT_TRUE(fitting(imageBytes(name)) == imageBytes(name)) << name;
    const std::string square = tests::jpeg(tests::picture(100, 100));
    EXPECT_TRUE(fitting(square, {.maxSidePixels = 100, .maxBytes = square.size()}) == square);
}

TEST(FittingPicture, ALargerOneIsScaledAndKeepsItsShape) {
    const auto sizeOf = [](int width, int height, int side) {
        const auto header =
            headerOf(fitting(tests::jpeg(tests::picture(width, height)), {.maxSidePixels = side}));
        return std::pair(header.widthPixels, header.heightPixels);
    };
    EXPECT_EQ(sizeOf(400, 300, 200), std::pair(200, 150));
    EXPECT_EQ(sizeOf(300, 400, 200), std::pair(150, 200));
    EXPECT_EQ(sizeOf(101, 101, 100), std::pair(100, 100));
    EXPECT_EQ(sizeOf(1000, 2, 100), std::pair(100, 1));
}

TEST(FittingPicture, IsAJpegUnlessItWasAPngOrHasTransparentParts) {
    const auto typeOf = [](const std::string& picture) { return headerOf(picture).type; };
    EXPECT_EQ(typeOf(fitting(imageBytes("lossy.webp"))), ImageType::Jpeg);
    EXPECT_EQ(typeOf(fitting(imageBytes("still.gif"))), ImageType::Jpeg);
    EXPECT_EQ(typeOf(fitting(imageBytes("alpha.webp"))), ImageType::Png);
    EXPECT_EQ(typeOf(fitting(imageBytes("transparent.gif"))), ImageType::Png);
    EXPECT_EQ(typeOf(fitting(tests::png(tests::picture(40, 40)), {.maxSidePixels = 20})), ImageType::Png);
    EXPECT_EQ(typeOf(fitting(tests::jpeg(tests::picture(40, 40)), {.maxSidePixels = 20})), ImageType::Jpeg);
}

TEST(FittingPicture, StandsUpright) {
    for (const char* name : {"orientation-6.jpg", "orientation-6.png", "orientation-6.webp"}) {
        const image::ImageHeader before = headerOf(imageBytes(name));
        const image::ImageHeader after = headerOf(fitting(imageBytes(name)));
        EXPECT_EQ(after.orientation, 1) << name;
        EXPECT_EQ(after.widthPixels, before.heightPixels) << name;
        EXPECT_EQ(after.heightPixels, before.widthPixels) << name;
    }
}

TEST(FittingPicture, IsABaselineJpegWhereNothingElseWillDo) {
    EXPECT_TRUE(fitting(imageBytes("baseline.jpg"), {.baselineJpegOnly = true}) ==
                imageBytes("baseline.jpg"));
    for (const char* name : {"progressive.jpg", "cmyk.jpg", "rgb.png", "rgba.png", "alpha.webp"})
        EXPECT_TRUE(headerOf(fitting(imageBytes(name), {.baselineJpegOnly = true})).baselineJpeg) << name;
}

TEST(FittingPicture, IsMadeSmallerUntilItFits) {
    const std::string large = tests::jpeg(tests::picture(900, 600));
    const std::string smaller = fitting(large, {.maxBytes = large.size() / 2});
    EXPECT_LE(smaller.size(), large.size() / 2);
    EXPECT_EQ(headerOf(smaller).type, ImageType::Jpeg);
    EXPECT_LT(headerOf(smaller).widthPixels, 900);
    EXPECT_EQ(headerOf(smaller).widthPixels * 2, headerOf(smaller).heightPixels * 3);
}

TEST(FittingPicture, WhatNeverFitsOrCantBeDecodedIsRefused) {
    try {
        fitting(tests::jpeg(tests::picture(900, 600)), {.maxBytes = 100});
        FAIL() << "nothing was said";
    } catch (const util::Exception& e) {
        EXPECT_STREQ(e.what(), "The picture doesn't fit into the song file, however small it is made.");
    }
    EXPECT_THROW(fitting("no picture"), util::Exception);
    EXPECT_THROW(fitting(""), util::Exception);
}

} // namespace
