// SPDX-License-Identifier: MIT
#include "image/ImageContent.h"

#include "tests/unit/image/ImageFiles.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using image::AcceptedTypes;
using image::ImageContent;
using image::ReceivedImage;
using tests::alike;
using tests::bytesOf;
using tests::Colour;
using tests::imageBytes;
using tests::Picture;
using tests::textOf;
using util::Buffer;
using util::Image;

constexpr Colour red{255, 0, 0};
constexpr Colour green{0, 255, 0};
constexpr Colour blue{0, 0, 255};
constexpr Colour yellow{255, 255, 0};
constexpr Colour transparent{0, 0, 0, gdAlphaTransparent};

Image decode(const std::string& bytes, AcceptedTypes accepted = AcceptedTypes::All) {
    return ImageContent::decode(bytesOf(bytes), {}, accepted);
}

std::string rendition(const std::string& bytes) {
    return textOf(ImageContent::rendition(bytesOf(bytes), {}).bytes());
}

std::string refusalOf(const std::string& bytes, AcceptedTypes accepted = AcceptedTypes::All) {
    try {
        decode(bytes, accepted);
        return {};
    } catch (const util::Exception& refusal) {
        return refusal.what();
    }
}

struct Shown {
    std::string name;
    std::vector<Colour> quarters = {red, green, blue, yellow};
    int tolerance = 12;
};

void PrintTo(const Shown& shown, std::ostream* out) { *out << shown.name; }

void expectShown(const Picture& picture, const Shown& shown) {
    ASSERT_TRUE(picture);
    EXPECT_EQ(gdImageSX(picture.get()), 48);
    EXPECT_EQ(gdImageSY(picture.get()), 32);
    const std::vector<Colour> quarters = tests::quartersOf(picture);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(alike(quarters[i], shown.quarters[i], shown.tolerance))
            << "quarter " << i << " is " << quarters[i] << ", not " << shown.quarters[i];
    }
}

class ImageContentOfFile : public testing::TestWithParam<Shown> {};

TEST_P(ImageContentOfFile, IsShownUpright) {
    expectShown(tests::decodedPng(rendition(imageBytes(GetParam().name))), GetParam());
}

TEST_P(ImageContentOfFile, HasUprightPixels) {
    Image image = decode(imageBytes(GetParam().name));
    EXPECT_EQ(image.width(), 48);
    EXPECT_EQ(image.height(), 32);
    // Scaling up and back drops the carried file, so that the pixels are encoded.
    ASSERT_TRUE(image.resample(96, 64));
    ASSERT_TRUE(image.resample(48, 32));
    expectShown(tests::decodedPng(tests::rawPng(image)), GetParam());
}

TEST_P(ImageContentOfFile, CarriesWhatWasReceived) {
    std::string bytes = imageBytes(GetParam().name);
    const Image image = decode(bytes);
    const ReceivedImage received = ImageContent::received(image);
    ASSERT_TRUE(received.bytes);
    EXPECT_EQ(textOf(received.bytes->bytes()), bytes);
    EXPECT_EQ(received.header.usedBytes, image::readImageHeader(bytesOf(bytes), {}).usedBytes);
}

const std::vector<Colour> firstTransparent = {transparent, green, blue, yellow};
const std::vector<Colour> greys = {{76, 76, 76}, {150, 150, 150}, {29, 29, 29}, {226, 226, 226}};

INSTANTIATE_TEST_SUITE_P(Jpeg, ImageContentOfFile,
                         testing::Values(Shown{"baseline.jpg"}, Shown{"progressive.jpg"}, Shown{"cmyk.jpg"},
                                         Shown{"grey.jpg", greys}, Shown{"zip-behind.jpg"},
                                         Shown{"exif-offset-outside.jpg"},
                                         Shown{"exif-count-too-large.jpg"}));
INSTANTIATE_TEST_SUITE_P(Orientation, ImageContentOfFile,
                         testing::Values(Shown{"orientation-1.jpg"}, Shown{"orientation-2.jpg"},
                                         Shown{"orientation-3.jpg"}, Shown{"orientation-4.jpg"},
                                         Shown{"orientation-5.jpg"}, Shown{"orientation-6.jpg"},
                                         Shown{"orientation-7.jpg"}, Shown{"orientation-8.jpg"},
                                         Shown{"orientation-6.png"},
                                         Shown{"orientation-6.webp", {red, green, blue, yellow}, 40}));
INSTANTIATE_TEST_SUITE_P(
    Png, ImageContentOfFile,
    testing::Values(Shown{"rgb.png"}, Shown{"sixteen-bit.png"}, Shown{"palette.png"},
                    Shown{"grey.png", greys}, Shown{"interlaced.png"}, Shown{"odd-chunks.png"},
                    Shown{"rgba.png", firstTransparent}, Shown{"zip-behind.png"},
                    Shown{"palette-transparent.png", {transparent, {0, 255, 0, 63}, blue, yellow}}));
INSTANTIATE_TEST_SUITE_P(WebpAndGif, ImageContentOfFile,
                         testing::Values(Shown{"lossy.webp", {red, green, blue, yellow}, 40},
                                         Shown{"lossless.webp"}, Shown{"alpha.webp", firstTransparent, 40},
                                         Shown{"still.gif"}, Shown{"transparent.gif", firstTransparent},
                                         Shown{"animated.gif"}));

TEST(ImageContent, DecodesATransparentColour) {
    Image image = decode(imageBytes("colour-key.png"));
    ASSERT_TRUE(image.resample(24, 16));
    const std::vector<Colour> quarters = tests::quartersOf(tests::decodedPng(tests::rawPng(image)));
    EXPECT_TRUE(alike(quarters[0], transparent)) << quarters[0];
    EXPECT_TRUE(alike(quarters[1], green)) << quarters[1];
}

TEST(ImageContent, RefusesWebpAndGifWhereOnlyJpegAndPngAreAccepted) {
    EXPECT_EQ(refusalOf(imageBytes("baseline.jpg"), AcceptedTypes::JpegAndPng), "");
    EXPECT_EQ(refusalOf(imageBytes("rgb.png"), AcceptedTypes::JpegAndPng), "");
    EXPECT_EQ(refusalOf(imageBytes("lossy.webp"), AcceptedTypes::JpegAndPng),
              "Only JPEG and PNG images are accepted.");
    EXPECT_EQ(refusalOf(imageBytes("still.gif"), AcceptedTypes::JpegAndPng),
              "Only JPEG and PNG images are accepted.");
}

TEST(ImageContent, RefusesDamagedData) {
    EXPECT_EQ(refusalOf(imageBytes("checksum-header.png")), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(imageBytes("checksum-data.png")), "The PNG image is damaged.");
    EXPECT_EQ(
        refusalOf("\xFF\xD8\xFF\xC0" + std::string("\0\x0B\x08\0\1\0\1\1\1\x11\0\xFF\xDA\0\x02\xFF\xD9", 17)),
        "The JPEG image is damaged.");
}

TEST(ImageContent, RefusesOddPrefixesOfEveryFile) {
    for (const char* name : {"baseline.jpg", "interlaced.png", "lossy.webp"}) {
        const std::string bytes = imageBytes(name);
        EXPECT_NE(refusalOf(bytes.substr(0, bytes.size() - 1)), "") << name;
    }
}

TEST(ImageContent, KeepsTheDecoderQuiet) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(refusalOf(imageBytes("odd-chunks.png")), "");
    EXPECT_NE(refusalOf(imageBytes("checksum-data.png")), "");
    EXPECT_NE(refusalOf(imageBytes("checksum-header.png")), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ImageContent, HandsStoredPngBytesOutUntouched) {
    const std::string stored = imageBytes("zip-behind.png");
    Image image = ImageContent::fromPng(Buffer(bytesOf(stored)));
    EXPECT_TRUE(image.isValid());
    EXPECT_EQ(image.width(), 48);
    EXPECT_EQ(image.height(), 32);
    EXPECT_EQ(tests::rawPng(image), stored);
}

TEST(ImageContent, DecodesAStoredPngOnlyForItsPixels) {
    const std::string undecodable = imageBytes("checksum-data.png");
    Image image = ImageContent::fromPng(Buffer(bytesOf(undecodable)));
    EXPECT_EQ(image.width(), 48);
    EXPECT_EQ(tests::rawPng(image), undecodable);
    Image copy(image);
    EXPECT_EQ(tests::rawPng(copy), undecodable);
    EXPECT_FALSE(image.resample(10, 10));
    EXPECT_EQ(tests::rawJpg(image), "");
    EXPECT_EQ(tests::rawPng(image), undecodable);
}

TEST(ImageContent, DecodesAStoredPngWhenPixelsAreAskedFor) {
    Image image = ImageContent::fromPng(Buffer(bytesOf(imageBytes("rgb.png"))));
    ASSERT_TRUE(image.resize(24, 24, false));
    EXPECT_EQ(image.width(), 24);
    EXPECT_EQ(image.height(), 16);
    EXPECT_TRUE(alike(tests::quartersOf(tests::decodedPng(tests::rawPng(image)))[3], yellow));
}

TEST(ImageContent, TakesAStoredPngAsItIsShown) {
    const std::string turned = imageBytes("orientation-6.png");
    Image image = ImageContent::fromPng(Buffer(bytesOf(turned)));
    EXPECT_EQ(image.width(), 32);
    EXPECT_EQ(tests::rawPng(image), turned);
}

TEST(ImageContent, RefusesAStoredImageThatIsNoWholePng) {
    EXPECT_THROW(ImageContent::fromPng(Buffer(bytesOf(imageBytes("baseline.jpg")))), util::Exception);
    EXPECT_THROW(ImageContent::fromPng(Buffer(bytesOf(imageBytes("no-end.png")))), util::Exception);
    EXPECT_THROW(ImageContent::fromPng(Buffer()), util::Exception);
}

TEST(ImageContent, HasReceivedNothingWhereThereIsNoFile) {
    EXPECT_FALSE(ImageContent::received(Image()).bytes);
    Image image = decode(imageBytes("baseline.jpg"));
    ASSERT_TRUE(image.resample(10, 10));
    EXPECT_FALSE(ImageContent::received(image).bytes);
}

TEST(ImageContent, RendersAnUprightPngAsItIs) {
    for (const char* name : {"rgb.png", "palette-transparent.png", "sixteen-bit.png", "odd-chunks.png"}) {
        EXPECT_EQ(rendition(imageBytes(name)), imageBytes(name)) << name;
    }
    EXPECT_EQ(rendition(imageBytes("zip-behind.png")), imageBytes("rgb.png"));
}

TEST(ImageContent, RendersWithinTheLimitsOnly) {
    EXPECT_THROW(ImageContent::rendition(bytesOf(imageBytes("baseline.jpg")), {10000, 100}), util::Exception);
    EXPECT_THROW(ImageContent::rendition(bytesOf(imageBytes("rgb.png")), {10, 10000}), util::Exception);
}

TEST(ImageContent, RendersAnOpaqueImageWithoutAnAlphaChannel) {
    constexpr std::size_t colourType = 25;
    EXPECT_EQ(rendition(imageBytes("baseline.jpg")).at(colourType), 2);
    EXPECT_EQ(rendition(imageBytes("alpha.webp")).at(colourType), 6);
}

} // namespace
