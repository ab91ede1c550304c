// SPDX-License-Identifier: MIT
#include "util/Image.h"

#include "image/ImageContent.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/image/ImageFiles.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using tests::alike;
using tests::Colour;
using tests::decodedJpeg;
using tests::decodedPng;
using tests::imageBytes;
using tests::imageFile;
using tests::imageOf;
using tests::Picture;
using tests::quartersOf;
using tests::rawJpg;
using tests::rawPng;
using util::Image;

static_assert(sizeof(Image) == sizeof(gdImagePtr), "the one field is the libgd image");

TEST(Image, StartsWithoutAnImage) {
    Image image;
    EXPECT_FALSE(image.isValid());
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_FALSE(image.resample(1, 1));
    EXPECT_FALSE(image.resize(1, 1, true));
    EXPECT_FALSE(image.save("/nonexistent/cover.png"));
}

TEST(Image, LeavesThePointerNullWithoutAnImage) {
    Image image;
    int something = 0;
    void* block = &something;
    std::size_t size = 7;
    EXPECT_FALSE(image.getRawPNG(&block, size));
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0U);
    block = &something;
    EXPECT_FALSE(image.getRawJPG(&block, size));
    EXPECT_EQ(block, nullptr);
}

TEST(Image, IsDecodedFromBytes) {
    for (const char* name : {"baseline.jpg", "rgb.png", "lossless.webp", "still.gif"}) {
        const Image image = imageOf(imageBytes(name));
        EXPECT_TRUE(image.isValid()) << name;
        EXPECT_EQ(image.width(), 48) << name;
        EXPECT_EQ(image.height(), 32) << name;
    }
}

TEST(Image, DoesNotNeedTheBytesAnyMore) {
    std::string bytes = imageBytes("rgb.png");
    Image image = imageOf(bytes);
    std::ranges::fill(bytes, 'x');
    EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
}

TEST(Image, SaysWhyBytesAreNoImage) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(imageOf("plain text").isValid());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: Decoding an image: This is not a JPEG, PNG, WebP or GIF image.\n");
    EXPECT_FALSE(Image(nullptr, 0).isValid());
    EXPECT_FALSE(Image(nullptr, 5).isValid());
}

TEST(Image, KeepsItsImageWhereAnotherIsRefused) {
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_FALSE(image.set("junk", 4));
    EXPECT_FALSE(image.load("/nonexistent/cover.png"));
    EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
    const std::string other = imageBytes("palette.png");
    EXPECT_TRUE(image.set(other.data(), static_cast<unsigned int>(other.size())));
    EXPECT_EQ(rawPng(image), other);
}

TEST(Image, CopiesWhatItCarries) {
    Image image = imageOf(imageBytes("rgb.png"));
    Image copy(image);
    Image fromPointer(&image);
    Image assigned = imageOf(imageBytes("grey.png"));
    assigned = image;
    image = Image();
    EXPECT_FALSE(image.isValid());
    for (Image* each : {&copy, &fromPointer, &assigned}) {
        EXPECT_EQ(each->width(), 48);
        EXPECT_EQ(rawPng(*each), imageBytes("rgb.png"));
    }
}

TEST(Image, CopiesNothingFromNothing) {
    Image* none = nullptr;
    EXPECT_FALSE(Image(none).isValid());
    const Image empty;
    EXPECT_FALSE(Image(empty).isValid());
    Image image = imageOf(imageBytes("rgb.png"));
    image = empty;
    EXPECT_FALSE(image.isValid());
}

TEST(Image, SurvivesAssignmentToItself) {
    Image image = imageOf(imageBytes("rgb.png"));
    const Image& itself = image;
    image = itself;
    EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
}

TEST(Image, CopiesPixelsThatNoFileHas) {
    Image image = imageOf(imageBytes("rgb.png"));
    ASSERT_TRUE(image.resample(24, 16));
    Image copy(image);
    const std::string scaled = rawPng(image);
    ASSERT_TRUE(image.resample(3, 3));
    EXPECT_EQ(copy.width(), 24);
    EXPECT_EQ(rawPng(copy), scaled);
}

TEST(Image, CopiesAJpegThatIsTurned) {
    Image image = imageOf(imageBytes("orientation-6.jpg"));
    Image copy(image);
    EXPECT_EQ(copy.width(), 48);
    EXPECT_EQ(copy.height(), 32);
    EXPECT_EQ(rawPng(copy), rawPng(image));
    EXPECT_TRUE(alike(quartersOf(decodedPng(rawPng(copy)))[0], {255, 0, 0}));
}

Image passedThrough(Image image) { return image; }

TEST(Image, SurvivesBeingHandedAround) {
    std::vector<Image> images{passedThrough(imageOf(imageBytes("rgb.png")))};
    images.push_back(passedThrough(images.front()));
    images.reserve(images.capacity() + 1); // reallocates, which copies all images
    for (Image& image : images)
        EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
}

TEST(Image, EncodesAPngAfterAJpeg) {
    Image image = imageOf(imageBytes("baseline.jpg"));
    const std::string png = rawPng(image);
    ASSERT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1A\n");
    EXPECT_TRUE(alike(quartersOf(decodedPng(png))[2], {0, 0, 255}));
    EXPECT_EQ(rawPng(image), png);
}

TEST(Image, HandsOutAnUprightJpegAsItIs) {
    Image image = imageOf(imageBytes("zip-behind.jpg"));
    EXPECT_EQ(rawJpg(image), imageBytes("baseline.jpg"));
    Image turned = imageOf(imageBytes("orientation-3.jpg"));
    const std::string upright = rawJpg(turned);
    EXPECT_EQ(image::readImageHeader(tests::bytesOf(upright), {}).orientation, 1);
    EXPECT_TRUE(alike(quartersOf(decodedJpeg(upright))[1], {0, 255, 0}));
}

TEST(Image, ShowsTransparentPartsWhiteInAJpeg) {
    Image image = imageOf(imageBytes("rgba.png"));
    const std::vector<Colour> quarters = quartersOf(decodedJpeg(rawJpg(image)));
    EXPECT_TRUE(alike(quarters[0], {255, 255, 255})) << quarters[0];
    EXPECT_TRUE(alike(quarters[3], {255, 255, 0})) << quarters[3];
    Image half = imageOf(imageBytes("palette-transparent.png"));
    const Colour mixed = quartersOf(decodedJpeg(rawJpg(half)))[1];
    EXPECT_TRUE(alike(mixed, {127, 255, 127})) << mixed;
    EXPECT_EQ(rawPng(image), imageBytes("rgba.png")) << "the image itself stays as it was";
}

/** Single pixels, alternately black and white. */
std::string chequered(int side) {
    const Picture picture(gdImageCreateTrueColor(side, side));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            gdImageSetPixel(picture.get(), x, y, (x + y) % 2 == 0 ? 0xFFFFFF : 0);
    }
    return tests::png(picture);
}

TEST(ImageResample, AveragesAreas) {
    Image image = imageOf(chequered(64));
    ASSERT_TRUE(image.resample(16, 8));
    EXPECT_EQ(image.width(), 16);
    EXPECT_EQ(image.height(), 8);
    const Picture scaled = decodedPng(rawPng(image));
    for (int x = 0; x < 16; ++x) {
        EXPECT_TRUE(alike(tests::colourAt(scaled, x, 5), {128, 128, 128}, 2))
            << tests::colourAt(scaled, x, 5);
    }
}

TEST(ImageResample, KeepsTransparency) {
    for (const char* name : {"rgba.png", "palette-transparent.png", "transparent.gif", "alpha.webp"}) {
        Image image = imageOf(imageBytes(name));
        ASSERT_TRUE(image.resample(24, 16)) << name;
        const std::vector<Colour> quarters = quartersOf(decodedPng(rawPng(image)));
        EXPECT_EQ(quarters[0].alpha, gdAlphaTransparent) << name;
        EXPECT_EQ(quarters[3].alpha, gdAlphaOpaque) << name;
    }
}

TEST(ImageResample, LeavesAnImageOfThatSizeAsItIs) {
    Image image = imageOf(imageBytes("rgb.png"));
    ASSERT_TRUE(image.resample(48, 32));
    EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
}

TEST(ImageResample, RefusesAnImpossibleSize) {
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_FALSE(image.resample(0, 5));
    EXPECT_FALSE(image.resample(5, -1));
    EXPECT_FALSE(image.resample(2147483647, 2147483647));
    EXPECT_FALSE(image.resample(64001, 1000));
    EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
}

std::pair<int, int> resized(int width, int height, bool enlarge) {
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_TRUE(image.resize(width, height, enlarge));
    return {image.width(), image.height()};
}

TEST(ImageResize, FitsTheImageAndKeepsItsProportions) {
    EXPECT_EQ(resized(24, 24, false), std::pair(24, 16));
    EXPECT_EQ(resized(100, 8, false), std::pair(12, 8));
    EXPECT_EQ(resized(1, 1, false), std::pair(1, 1));
}

TEST(ImageResize, EnlargesOnlyWhereThatIsAskedFor) {
    EXPECT_EQ(resized(96, 96, false), std::pair(48, 32));
    EXPECT_EQ(resized(96, 96, true), std::pair(96, 64));
}

TEST(ImageResize, NeverLosesASide) {
    Image image = imageOf(tests::png(tests::picture(1000, 2)));
    ASSERT_TRUE(image.resize(10, 10, false));
    EXPECT_EQ(image.width(), 10);
    EXPECT_EQ(image.height(), 1);
}

TEST(ImageResize, RefusesAnImpossibleSize) {
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_FALSE(image.resize(0, 10, true));
    EXPECT_FALSE(image.resize(10, -10, true));
    EXPECT_EQ(image.width(), 48);
}

class ImageFile : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_.path()))
            names.push_back(entry.path().filename());
        return names;
    }

    static std::string contentOf(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    tests::TemporaryFolder folder_;
};

TEST_F(ImageFile, IsLoadedByContent) {
    Image image;
    EXPECT_TRUE(image.load(imageFile("baseline.jpg").c_str()));
    EXPECT_EQ(rawJpg(image), imageBytes("baseline.jpg"));
    fs::copy_file(imageFile("rgb.png"), path("really-a-png.jpg"));
    EXPECT_TRUE(image.load(path("really-a-png.jpg").c_str()));
    EXPECT_EQ(rawPng(image), imageBytes("rgb.png"));
}

TEST_F(ImageFile, IsNotLoadedWhereThereIsNone) {
    Image image;
    EXPECT_FALSE(image.load(path("missing.png").c_str()));
    EXPECT_FALSE(image.load(path("").c_str()));
    EXPECT_FALSE(image.load(imageFile("web-page.jpg").c_str()));
    EXPECT_FALSE(image.load("/dev/null"));
    EXPECT_FALSE(image.load(nullptr));
    EXPECT_FALSE(image.isValid());
}

TEST_F(ImageFile, IsNotWaitedForWhereItIsAFifo) {
    ASSERT_EQ(::mkfifo(path("fifo.png").c_str(), 0600), 0);
    Image image;
    EXPECT_FALSE(image.load(path("fifo.png").c_str()));
}

TEST_F(ImageFile, IsNotReadWhereItIsTooLarge) {
    std::ofstream(path("huge.png")).put('x');
    fs::resize_file(path("huge.png"), 33554433);
    Image image;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(image.load(path("huge.png").c_str()));
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_NE(line.find("huge.png: The file is larger than 33554432 bytes.\n"), std::string::npos) << line;
}

TEST_F(ImageFile, IsSavedAsItsNameSays) {
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_TRUE(image.save(path("cover.png").c_str()));
    EXPECT_EQ(contentOf(path("cover.png")), imageBytes("rgb.png"));
    for (const char* name : {"cover.jpg", "cover.JPEG", "cover.Jpg"}) {
        EXPECT_TRUE(image.save(path(name).c_str()));
        EXPECT_EQ(contentOf(path(name)).substr(0, 3), "\xFF\xD8\xFF") << name;
    }
    EXPECT_EQ(files().size(), 4U);
}

TEST_F(ImageFile, IsReplacedAsAWhole) {
    std::ofstream(path("cover.png")) << "old";
    fs::create_hard_link(path("cover.png"), path("link.png"));
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_TRUE(image.save(path("cover.png").c_str()));
    EXPECT_EQ(contentOf(path("cover.png")), imageBytes("rgb.png"));
    EXPECT_EQ(contentOf(path("link.png")), "old") << "the old file itself was not written to";
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(ImageFile, LeavesNothingBehindWhereItCannotBeSaved) {
    fs::create_directory(path("cover.png"));
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_FALSE(image.save(path("cover.png").c_str()));
    EXPECT_FALSE(image.save(path("missing/cover.png").c_str()));
    EXPECT_FALSE(image.save(nullptr));
    EXPECT_EQ(files(), std::vector<std::string>{"cover.png"});
}

TEST_F(ImageFile, GetsThePermissionsOfAnyNewFile) {
    const mode_t before = ::umask(022);
    Image image = imageOf(imageBytes("rgb.png"));
    EXPECT_TRUE(image.save(path("cover.png").c_str()));
    ::umask(before);
    EXPECT_EQ(fs::status(path("cover.png")).permissions(), fs::perms(0644));
}

} // namespace
