// SPDX-License-Identifier: MIT
#include "image/ImageHeader.h"

#include "tests/unit/image/ImageFiles.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace std::string_literals;
using image::ImageHeader;
using image::ImageLimits;
using image::ImageType;
using image::readImageHeader;
using tests::bytesOf;
using tests::imageBytes;

ImageHeader headerOf(const std::string& bytes, const ImageLimits& limits = {}) {
    return readImageHeader(bytesOf(bytes), limits);
}

/** The error sentence for these bytes; empty when they are accepted. */
std::string refusalOf(const std::string& bytes, const ImageLimits& limits = {}) {
    try {
        static_cast<void>(headerOf(bytes, limits));
        return {};
    } catch (const util::Exception& refusal) {
        return refusal.what();
    }
}

std::string bigEndian(std::uint32_t value, int length) {
    std::string text;
    while (length-- > 0)
        text += static_cast<char>(value >> (8 * length) & 0xFFU);
    return text;
}

std::string reversed(const std::string& text) { return {text.rbegin(), text.rend()}; }

std::string littleEndian(std::uint32_t value, int length) { return reversed(bigEndian(value, length)); }

struct Expected {
    std::string name;
    ImageType type;
    int width = 48;
    int height = 32;
    int orientation = 1;
};

void PrintTo(const Expected& expected, std::ostream* out) { *out << expected.name; }

class ReadImageHeaderOfFile : public testing::TestWithParam<Expected> {};

TEST_P(ReadImageHeaderOfFile, TellsTypeSizeAndOrientation) {
    const std::string bytes = imageBytes(GetParam().name);
    const ImageHeader header = headerOf(bytes);
    EXPECT_EQ(header.type, GetParam().type);
    EXPECT_EQ(header.widthPixels, GetParam().width);
    EXPECT_EQ(header.heightPixels, GetParam().height);
    EXPECT_EQ(header.orientation, GetParam().orientation);
    EXPECT_EQ(header.usedBytes, bytes.size());
}

INSTANTIATE_TEST_SUITE_P(
    Good, ReadImageHeaderOfFile,
    testing::Values(Expected{"baseline.jpg", ImageType::Jpeg}, Expected{"progressive.jpg", ImageType::Jpeg},
                    Expected{"grey.jpg", ImageType::Jpeg}, Expected{"cmyk.jpg", ImageType::Jpeg},
                    Expected{"orientation-1.jpg", ImageType::Jpeg},
                    Expected{"orientation-2.jpg", ImageType::Jpeg, 48, 32, 2},
                    Expected{"orientation-3.jpg", ImageType::Jpeg, 48, 32, 3},
                    Expected{"orientation-4.jpg", ImageType::Jpeg, 48, 32, 4},
                    Expected{"orientation-5.jpg", ImageType::Jpeg, 32, 48, 5},
                    Expected{"orientation-6.jpg", ImageType::Jpeg, 32, 48, 6},
                    Expected{"orientation-7.jpg", ImageType::Jpeg, 32, 48, 7},
                    Expected{"orientation-8.jpg", ImageType::Jpeg, 32, 48, 8},
                    Expected{"exif-offset-outside.jpg", ImageType::Jpeg},
                    Expected{"exif-count-too-large.jpg", ImageType::Jpeg},
                    Expected{"rgb.png", ImageType::Png}, Expected{"rgba.png", ImageType::Png},
                    Expected{"sixteen-bit.png", ImageType::Png}, Expected{"palette.png", ImageType::Png},
                    Expected{"grey.png", ImageType::Png}, Expected{"interlaced.png", ImageType::Png},
                    Expected{"orientation-6.png", ImageType::Png, 32, 48, 6},
                    Expected{"odd-chunks.png", ImageType::Png}, Expected{"lossy.webp", ImageType::Webp},
                    Expected{"lossless.webp", ImageType::Webp}, Expected{"alpha.webp", ImageType::Webp},
                    Expected{"orientation-6.webp", ImageType::Webp, 32, 48, 6},
                    Expected{"still.gif", ImageType::Gif}, Expected{"transparent.gif", ImageType::Gif},
                    Expected{"animated.gif", ImageType::Gif}));

TEST(ReadImageHeader, LeavesOutWhatFollowsTheImage) {
    EXPECT_EQ(headerOf(imageBytes("zip-behind.jpg")).usedBytes, imageBytes("baseline.jpg").size());
    EXPECT_EQ(headerOf(imageBytes("zip-behind.png")).usedBytes, imageBytes("rgb.png").size());
    EXPECT_EQ(headerOf(imageBytes("lossy.webp") + "tail").usedBytes, imageBytes("lossy.webp").size());
}

class ReadImageHeaderOfPrefix : public testing::TestWithParam<std::string> {};

TEST_P(ReadImageHeaderOfPrefix, RefusesEachOne) {
    std::string bytes = imageBytes(GetParam());
    if (bytes.ends_with(";")) bytes.pop_back(); // a GIF's end mark: the picture is complete without it
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_NE(refusalOf(bytes.substr(0, length)), "") << length << " of " << bytes.size() << " bytes";
    }
}

INSTANTIATE_TEST_SUITE_P(Truncated, ReadImageHeaderOfPrefix,
                         testing::Values("baseline.jpg", "progressive.jpg", "orientation-6.jpg", "rgb.png",
                                         "orientation-6.png", "palette-transparent.png", "lossy.webp",
                                         "lossless.webp", "alpha.webp", "orientation-6.webp", "still.gif",
                                         "transparent.gif"));

TEST(ReadImageHeader, SaysThatAnImageIsTruncated) {
    EXPECT_EQ(refusalOf(imageBytes("truncated.jpg")), "The JPEG image is truncated.");
    EXPECT_EQ(refusalOf(imageBytes("no-end.jpg")), "The JPEG image is truncated.");
    EXPECT_EQ(refusalOf(imageBytes("no-end.png")), "The PNG image is truncated.");
    EXPECT_EQ(refusalOf(imageBytes("truncated.gif")), "The GIF image is truncated.");
}

TEST(ReadImageHeader, SaysWhatIsNoImage) {
    EXPECT_EQ(refusalOf(""), "The image file is empty.");
    EXPECT_EQ(refusalOf(imageBytes("web-page.jpg")), "This is a web page or an XML document, not an image.");
    EXPECT_EQ(refusalOf("\xEF\xBB\xBF\r\n <?xml version=\"1.0\"?>"),
              "This is a web page or an XML document, not an image.");
    for (const std::string& text :
         {"plain text"s, " "s, "\xEF\xBB\xBF"s, "BM\x46\0\0\0"s, "%PDF-1.7"s, "\xFF\xD8"s, "\x89PNG\r\n"s,
          "GIF88a"s, "RIFF\x04\0\0\0WAVE"s, "\0\0\0\x20"s + "ftypavif"}) {
        EXPECT_EQ(refusalOf(text), "This is not a JPEG, PNG, WebP or GIF image.")
            << testing::PrintToString(text);
    }
}

TEST(ReadImageHeader, NamesTheLimitInBytes) {
    const std::string bytes = imageBytes("baseline.jpg");
    EXPECT_EQ(refusalOf(bytes, {bytes.size(), 64'000'000}), "");
    EXPECT_EQ(refusalOf(bytes, {bytes.size() - 1, 64'000'000}),
              "The image is larger than " + std::to_string(bytes.size() - 1) + " bytes.");
    std::string huge;
    huge.resize(33554433);
    EXPECT_EQ(refusalOf(huge), "The image is larger than 33554432 bytes.");
}

TEST(ReadImageHeader, NamesTheLimitInPixels) {
    EXPECT_EQ(refusalOf(imageBytes("too-many-pixels.png")),
              "The image has 3600000000 pixels; at most 64000000 are accepted.");
    for (const char* name :
         {"baseline.jpg", "rgb.png", "lossy.webp", "lossless.webp", "alpha.webp", "still.gif"}) {
        EXPECT_EQ(refusalOf(imageBytes(name), {1000000, 1536}), "") << name;
        EXPECT_EQ(refusalOf(imageBytes(name), {1000000, 1535}),
                  "The image has 1536 pixels; at most 1535 are accepted.")
            << name;
    }
}

TEST(ReadImageHeader, KnowsWhatTheDecoderCanHoldWhateverTheLimit) {
    EXPECT_EQ(refusalOf(imageBytes("too-many-pixels.png"), {1000000, ~0ULL}),
              "The image has 3600000000 pixels; at most 536870911 are accepted.");
}

TEST(ReadImageHeader, RefusesASizeThatTheDataCannotFill) {
    EXPECT_EQ(refusalOf(imageBytes("lying-size.png")), "The PNG image is truncated.");
}

// JPEG

std::string segment(int marker, const std::string& data) {
    return "\xFF"s + static_cast<char>(marker) + bigEndian(static_cast<std::uint32_t>(data.size() + 2), 2) +
           data;
}

/** The contents of a JPEG frame header. */
struct Frame {
    int marker = 0xC0;
    int precision = 8;
    int height = 32;
    int width = 48;
    int components = 3;
};

std::string frame(const Frame& of) {
    std::string data = bigEndian(std::uint32_t(of.precision), 1) + bigEndian(std::uint32_t(of.height), 2) +
                       bigEndian(std::uint32_t(of.width), 2) + bigEndian(std::uint32_t(of.components), 1);
    for (int i = 1; i <= of.components; ++i)
        data += std::string{static_cast<char>(i), '\x11', '\0'};
    return segment(of.marker, data);
}

const std::string scan = segment(0xDA, "\x01\x01\0\0\x3F\0"s) + "data\xFF\0\xFF\xD0more"s;

std::string jpegOf(const std::string& segments) { return "\xFF\xD8"s + segments + "\xFF\xD9"; }

TEST(ReadImageHeaderOfJpeg, WalksAsTheDecoderDoes) {
    EXPECT_EQ(headerOf(jpegOf(frame({}) + scan)).widthPixels, 48);
    EXPECT_EQ(headerOf(jpegOf("\xFF\xFF\xFF" + frame({}).substr(1) + scan)).heightPixels, 32) << "fill bytes";
    EXPECT_EQ(refusalOf(jpegOf(segment(0xE0, "JFIF") + "junk\xFF\0junk"s + frame({}) + scan)), "")
        << "padding";
    EXPECT_EQ(refusalOf(jpegOf(frame({.marker = 0xC2}) + scan + segment(0xC4, "table") + scan)), "")
        << "two scans";
    EXPECT_EQ(refusalOf(jpegOf(frame({.marker = 0xC1, .components = 1}) + scan)), "") << "grey";
    EXPECT_EQ(refusalOf(jpegOf(frame({.components = 4}) + scan)), "") << "CMYK";
}

TEST(ReadImageHeaderOfJpeg, SkipsAFrameInsideASegment) {
    const std::string thumbnail = jpegOf(frame({.height = 1, .width = 1}) + scan);
    EXPECT_EQ(headerOf(jpegOf(segment(0xE1, thumbnail) + frame({}) + scan)).widthPixels, 48);
}

TEST(ReadImageHeaderOfJpeg, RefusesWhatTheDecoderCannotRead) {
    const std::string refusal = "The JPEG image is of a kind that is not supported.";
    EXPECT_EQ(refusalOf(jpegOf(frame({.precision = 12}) + scan)), refusal);
    EXPECT_EQ(refusalOf(jpegOf(frame({.height = 0}) + scan)), refusal);
    EXPECT_EQ(refusalOf(jpegOf(frame({.components = 2}) + scan)), refusal);
    EXPECT_EQ(refusalOf(jpegOf(frame({.components = 5}) + scan)), refusal);
    for (const int marker : {0xC3, 0xC5, 0xC6, 0xC7, 0xCB, 0xCD, 0xCE, 0xCF}) {
        EXPECT_EQ(refusalOf(jpegOf(frame({.marker = marker}) + scan)), refusal) << std::hex << marker;
    }
}

TEST(ReadImageHeaderOfJpeg, RefusesWhatHasNoPicture) {
    EXPECT_EQ(refusalOf(jpegOf(frame({}))), "The JPEG image is damaged.") << "no scan";
    EXPECT_NE(refusalOf(jpegOf(scan + frame({}))), "") << "a scan before the frame";
    EXPECT_EQ(refusalOf(jpegOf(frame({.width = 0}) + scan)), "The JPEG image is damaged.");
}

TEST(ReadImageHeaderOfJpeg, RefusesASecondSize) {
    EXPECT_EQ(refusalOf(jpegOf(frame({}) + frame({.width = 9000}) + scan)), "The JPEG image is damaged.");
    EXPECT_EQ(refusalOf(jpegOf(frame({}) + "\xFF\xD8" + scan)), "The JPEG image is damaged.");
}

TEST(ReadImageHeaderOfJpeg, RefusesASegmentOfImpossibleLength) {
    EXPECT_NE(refusalOf(jpegOf("\xFF\xE0\0\0"s + frame({}) + scan)), "");
    EXPECT_NE(refusalOf(jpegOf("\xFF\xE0\0\x01"s + frame({}) + scan)), "");
    EXPECT_EQ(refusalOf(jpegOf("\xFF\xE0\xFF\xFF" + frame({}) + scan)), "The JPEG image is truncated.");
}

TEST(ReadImageHeaderOfJpeg, BoundsTheScans) {
    std::string scans;
    for (int i = 0; i < 100; ++i)
        scans += scan;
    EXPECT_EQ(refusalOf(jpegOf(frame({}) + scans)), "");
    EXPECT_NE(refusalOf(jpegOf(frame({}) + scans + scan)), "");
    EXPECT_NE(refusalOf(imageBytes("many-scans.jpg")), "");
}

// EXIF

std::string exifJpeg(const std::string& tiff) {
    return jpegOf(segment(0xE1, "http://ns.adobe.com/xap/1.0/\0<xmp>"s) + segment(0xE1, "Exif\0\0"s + tiff) +
                  frame({}) + scan);
}

std::string bigEndianTiff(std::uint32_t type, std::uint32_t value) {
    return "MM\0*"s + bigEndian(8, 4) + bigEndian(2, 2) + bigEndian(0x010F, 2) + bigEndian(2, 2) +
           bigEndian(1, 4) + "x\0\0\0"s + bigEndian(0x0112, 2) + bigEndian(type, 2) + bigEndian(1, 4) +
           bigEndian(value, 2) + "\0\0"s;
}

TEST(ExifOrientation, IsReadInEitherByteOrder) {
    EXPECT_EQ(headerOf(exifJpeg(bigEndianTiff(3, 8))).orientation, 8);
    const std::string tiff = "II*\0"s + littleEndian(8, 4) + littleEndian(1, 2) + littleEndian(0x0112, 2) +
                             littleEndian(3, 2) + littleEndian(1, 4) + littleEndian(6, 4);
    EXPECT_EQ(headerOf(exifJpeg(tiff)).orientation, 6);
}

TEST(ExifOrientation, IsUprightWhereItIsNonsense) {
    EXPECT_EQ(headerOf(exifJpeg(bigEndianTiff(3, 0))).orientation, 1);
    EXPECT_EQ(headerOf(exifJpeg(bigEndianTiff(3, 9))).orientation, 1);
    EXPECT_EQ(headerOf(exifJpeg(bigEndianTiff(4, 6))).orientation, 1) << "not a short";
    EXPECT_EQ(headerOf(exifJpeg("XX*\0"s + bigEndianTiff(3, 6).substr(4))).orientation, 1);
}

TEST(ExifOrientation, IsUprightWhereTheBlockEndsEarly) {
    const std::string tiff = bigEndianTiff(3, 6);
    ASSERT_EQ(headerOf(exifJpeg(tiff)).orientation, 6);
    for (std::size_t length = 0; length < tiff.size(); ++length) {
        EXPECT_EQ(headerOf(exifJpeg(tiff.substr(0, length))).orientation, 1) << length;
    }
}

// PNG

std::string chunk(const std::string& type, const std::string& data) {
    return bigEndian(static_cast<std::uint32_t>(data.size()), 4) + type + data + "crc!";
}

std::string sizeChunk(std::uint32_t width, std::uint32_t height, int depth = 8, int colourType = 2) {
    return chunk("IHDR", bigEndian(width, 4) + bigEndian(height, 4) + static_cast<char>(depth) +
                             static_cast<char>(colourType) + "\0\0\0"s);
}

std::string pngOf(const std::string& chunks) { return "\x89PNG\r\n\x1A\n"s + chunks; }

const std::string data = chunk("IDAT", std::string(20, 'x'));
const std::string end = chunk("IEND", "");

TEST(ReadImageHeaderOfPng, NeedsSizeDataAndEnd) {
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(4, 4) + data + end)), "");
    EXPECT_EQ(refusalOf(pngOf(data + sizeChunk(4, 4) + end)), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(pngOf(end)), "The PNG image is damaged.");
    EXPECT_NE(refusalOf(pngOf(sizeChunk(4, 4) + end)), "");
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(4, 4) + data)), "The PNG image is truncated.");
}

TEST(ReadImageHeaderOfPng, RefusesAnImpossibleSize) {
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(0, 4) + data + end)), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(4, 0) + data + end)), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(0x80000000, 1) + data + end)), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(pngOf(chunk("IHDR", "short") + data + end)), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(4, 4, 8, 5) + data + end)), "The PNG image is damaged.");
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(4, 4, 0) + data + end)), "The PNG image is damaged.");
}

TEST(ReadImageHeaderOfPng, RefusesAChunkThatEndsOutside) {
    EXPECT_EQ(refusalOf(pngOf(sizeChunk(4, 4) + bigEndian(0xFFFFFFFF, 4) + "IDATx" + end)),
              "The PNG image is truncated.");
}

// WebP and GIF

std::string webpOf(const std::string& chunks) {
    return "RIFF"s + littleEndian(static_cast<std::uint32_t>(chunks.size() + 4), 4) + "WEBP" + chunks;
}

TEST(ReadImageHeaderOfWebp, RefusesWhatTheDecoderCannotRead) {
    EXPECT_EQ(refusalOf(imageBytes("animated.webp")), "The WebP image is of a kind that is not supported.");
    EXPECT_EQ(refusalOf(webpOf("ICCP\0\0\0\0"s)), "The WebP image is of a kind that is not supported.");
    EXPECT_EQ(refusalOf(webpOf("VP8L\x05\0\0\0????\0\0"s)), "The WebP image is damaged.");
    EXPECT_EQ(refusalOf(webpOf("VP8 \x0A\0\0\0??????????"s)), "The WebP image is damaged.");
    EXPECT_EQ(refusalOf(webpOf("VP8 \x0A\0\0\0???\x9D\x01\x2A\0\0\x01\0"s)), "The WebP image is damaged.");
}

TEST(ReadImageHeaderOfWebp, RefusesAChunkThatEndsOutside) {
    const std::string extended = "VP8X\x0A\0\0\0\x08\0\0\0\x2F\0\0\x1F\0\0"s;
    EXPECT_EQ(refusalOf(webpOf(extended)), "");
    EXPECT_EQ(refusalOf(webpOf(extended + "EXIF\xFF\xFF\xFF\xFF")), "The WebP image is truncated.");
    EXPECT_EQ(refusalOf("RIFF\xFF\xFF\xFF\xFFWEBP" + extended), "The WebP image is truncated.");
}

std::string gifOf(const std::string& blocks) {
    return "GIF89a" + littleEndian(48, 2) + littleEndian(32, 2) + "\0\0\0"s + blocks;
}

std::string gifPicture(std::uint32_t left, std::uint32_t width) {
    return ","s + littleEndian(left, 2) + littleEndian(0, 2) + littleEndian(width, 2) + littleEndian(32, 2) +
           "\0\x02\x01x\0"s;
}

TEST(ReadImageHeaderOfGif, HasTheSizeOfItsFirstPicture) {
    const ImageHeader header =
        headerOf(gifOf("!\xFE\x04text\x01!\0"s + gifPicture(8, 40) + gifPicture(0, 48) + ";"));
    EXPECT_EQ(header.widthPixels, 40);
    EXPECT_EQ(header.heightPixels, 32);
}

TEST(ReadImageHeaderOfGif, RefusesAPictureOutsideTheScreen) {
    EXPECT_EQ(refusalOf(gifOf(gifPicture(8, 41) + ";")), "The GIF image is damaged.");
    EXPECT_EQ(refusalOf(gifOf(gifPicture(0, 0) + ";")), "The GIF image is damaged.");
}

TEST(ReadImageHeaderOfGif, RefusesWhatHasNoPicture) {
    EXPECT_EQ(refusalOf(gifOf(";")), "The GIF image is damaged.");
    EXPECT_EQ(refusalOf(gifOf("!\xFE\x04text\0"s)), "The GIF image is truncated.");
}

TEST(MimeType, NamesEachType) {
    EXPECT_EQ(image::mimeType(ImageType::Jpeg), "image/jpeg");
    EXPECT_EQ(image::mimeType(ImageType::Png), "image/png");
    EXPECT_EQ(image::mimeType(ImageType::Webp), "image/webp");
    EXPECT_EQ(image::mimeType(ImageType::Gif), "image/gif");
}

} // namespace
