// SPDX-License-Identifier: MIT
#include "tags/Id3v2.h"

#include "tags/Bytes.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using tags::bigEndian;
namespace id3v2 = tags::id3v2;

const std::string jpeg = "\xFF\xD8\xFF\xE0 a picture"s;

std::string syncSafe(std::size_t number) {
    return {static_cast<char>(number >> 21U & 0x7FU), static_cast<char>(number >> 14U & 0x7FU),
            static_cast<char>(number >> 7U & 0x7FU), static_cast<char>(number & 0x7FU)};
}

std::string tagOf(int version, int flags, const std::string& frames) {
    return "ID3"s + static_cast<char>(version) + '\0' + static_cast<char>(flags) + syncSafe(frames.size()) +
           frames;
}

std::string frame3(const std::string& id, const std::string& content, const std::string& flags = "\0\0"s) {
    return id + bigEndian(content.size(), 4) + flags + content;
}

std::string frame4(const std::string& id, const std::string& content, const std::string& flags = "\0\0"s) {
    return id + syncSafe(content.size()) + flags + content;
}

std::string pictureContent(int type, const std::string& image, const std::string& mime = "image/jpeg") {
    return "\0"s + mime + '\0' + static_cast<char>(type) + "text\0"s + image;
}

tags::StoredTags collected(const std::string& bytes) {
    tags::StoredTags tags;
    id3v2::collect(id3v2::parse(bytes), tags);
    return tags;
}

tags::Cover cover(const std::string& image) { return {.image = image, .mime = "image/jpeg"}; }

TEST(Id3v2, KeepsFramesOfEveryVersionAsTheyAre) {
    const std::string odd2 = "XYZ"s + bigEndian(3, 3) + "\0\xFF\0"s;
    const std::string odd3 =
        frame3("TSIZ", "12345", "\x60\0"s) + frame3("RVAD", "\x01\x02"s) + frame3("XYZ ", "?");
    const std::string odd4 = frame4("TSOP", std::string(200, 'x'), "\x40\x01"s) + frame4("ZZZZ", "");
    for (const auto& [version, frames] : {std::pair(2, odd2), std::pair(3, odd3), std::pair(4, odd4)}) {
        id3v2::Tag tag = id3v2::parse(tagOf(version, 0, frames + std::string(50, '\0')));
        id3v2::setFront(tag, cover(jpeg));
        const std::string written = id3v2::render(tag, 7);
        EXPECT_EQ(written.substr(0, 6), tagOf(version, 0, "").substr(0, 6));
        EXPECT_EQ(written.substr(10, frames.size()), frames);
        EXPECT_EQ(written.size(), id3v2::sizeOf(tag) + 7);
        const tags::StoredTags tags = collected(written);
        ASSERT_EQ(tags.pictures.size(), 1U);
        EXPECT_TRUE(tags.pictures[0].front);
        EXPECT_EQ(tags.pictures[0].image, jpeg);
    }
}

TEST(Id3v2, ReplacesAllFrontCoversAndNoOtherPicture) {
    const std::string back = frame3("APIC", pictureContent(4, "back"));
    const std::string front = frame3("APIC", pictureContent(3, "old"));
    const std::string title = frame3("TIT2", "\0title"s);
    id3v2::Tag tag = id3v2::parse(tagOf(3, 0, front + title + back + front));
    id3v2::setFront(tag, cover(jpeg));
    ASSERT_EQ(tag.frames.size(), 3U);
    EXPECT_EQ(tag.frames[0], title);
    EXPECT_NE(tag.frames[1].find(jpeg), std::string::npos) << "players without types show the first picture";
    EXPECT_EQ(tag.frames[2], back);
    EXPECT_TRUE(id3v2::removeFront(tag));
    EXPECT_FALSE(id3v2::removeFront(tag));
    EXPECT_EQ(tag.frames.size(), 2U);
}

TEST(Id3v2, ReadsDescriptionsInEveryEncoding) {
    const std::string utf16 = "\x01image/png\0\x03\xFF\xFE\x00\x61\x61\x00\0\0"s + jpeg;
    const std::string latin = pictureContent(3, jpeg);
    for (const std::string& content : {utf16, latin})
        EXPECT_EQ(collected(tagOf(3, 0, frame3("APIC", content))).pictures.at(0).image, jpeg);
}

TEST(Id3v2, UndoesUnsynchronisation) {
    const std::string coded = "\xFF\0\xE0 \xFF\0\0"s; // means FF E0, a blank, FF 00
    const std::string plain = "\xFF\xE0 \xFF\0"s;
    EXPECT_EQ(collected(tagOf(3, 0x80, "PRIV"s + bigEndian(plain.size(), 4) + "\0\0"s + coded)).others,
              std::vector{frame3("PRIV", plain)});
    const std::string content = pictureContent(3, coded);
    const auto flagged = collected(tagOf(4, 0, frame4("APIC", content, "\0\x02"s)));
    EXPECT_EQ(flagged.pictures.at(0).image, plain);
    EXPECT_EQ(collected(tagOf(4, 0x80, frame4("APIC", content))).pictures.at(0).image, plain);
}

TEST(Id3v2, KeepsFramesCodedWhenTheirTagIsWrittenWithoutItsFlag) {
    id3v2::Tag tag = id3v2::parse(tagOf(4, 0x80, frame4("PRIV", "\xFF\0\xE0"s)));
    id3v2::setFront(tag, cover(jpeg));
    const std::string written = id3v2::render(tag, 0);
    EXPECT_EQ(written[5], '\0');
    EXPECT_EQ(collected(written).others, std::vector{frame4("PRIV", "\xFF\0\xE0"s, "\0\x02"s)});
    EXPECT_EQ(collected(written).pictures.at(0).image, jpeg);
}

TEST(Id3v2, SkipsGroupsLengthsAndExtendedHeaders) {
    const std::string content = pictureContent(3, jpeg);
    EXPECT_EQ(collected(tagOf(3, 0, frame3("APIC", "G" + content, "\0\x20"s))).pictures.at(0).image, jpeg);
    EXPECT_EQ(collected(tagOf(4, 0, frame4("APIC", "G1234" + content, "\0\x41"s))).pictures.at(0).image,
              jpeg);
    const std::string title = frame3("TIT2", "\0t"s);
    EXPECT_EQ(collected(tagOf(3, 0x40, bigEndian(6, 4) + std::string(6, '\0') + title)).others,
              std::vector{title});
    EXPECT_EQ(collected(tagOf(4, 0x40, syncSafe(6) + "\x01\0"s + frame4("TIT2", "\0t"s))).others,
              std::vector{frame4("TIT2", "\0t"s)});
}

TEST(Id3v2, ReadsPlainSizesWhereSyncSafeOnesWereDue) {
    const std::string frames = frame3("COMM", std::string(300, 'x')) + frame3("TIT2", "\0t"s);
    EXPECT_EQ(collected(tagOf(4, 0, frames)).others.size(), 2U);
}

/** Read as a sync-safe number, the first size leads to a zero, which looks like padding. */
TEST(Id3v2, IsNotLedAstrayByAZeroInAFrame) {
    const std::string frames =
        frame3("PRIV", std::string(100, 'x') + std::string(200, '\0')) + frame3("TIT2", "\0t"s);
    EXPECT_EQ(collected(tagOf(4, 0, frames + std::string(20, '\0'))).others.size(), 2U);
}

TEST(Id3v2, DropsNothingBehindAZero) {
    const std::string title = frame3("TIT2", "\0t"s);
    EXPECT_THROW((void)id3v2::parse(tagOf(3, 0, title + "\0\0"s + title)), util::Exception);
    EXPECT_THROW((void)id3v2::parse(tagOf(4, 0x40, std::string(4, '\0') + title)), util::Exception);
}

TEST(Id3v2, RefusesMoreFramesThanAnybodyHas) {
    std::string frames;
    for (std::size_t i = 0; i <= tags::maxTagParts; ++i)
        frames += "XYZ\0\0\0"s;
    EXPECT_THROW((void)id3v2::parse(tagOf(2, 0, frames)), util::Exception);
}

TEST(Id3v2, DoesNotTakeAnAddressForAPicture) {
    const auto tags =
        collected(tagOf(3, 0, frame3("APIC", pictureContent(3, "http://example.com/a.jpg", "-->"))));
    EXPECT_TRUE(tags.pictures.at(0).front);
    EXPECT_EQ(tags.pictures.at(0).image, "");
}

TEST(Id3v2, RefusesWhatItCannotKeep) {
    const std::string title = frame3("TIT2", "\0t"s);
    EXPECT_THROW((void)id3v2::parse(tagOf(5, 0, title)), util::Exception);
    EXPECT_THROW((void)id3v2::parse(tagOf(2, 0x40, "")), util::Exception);
    EXPECT_THROW((void)id3v2::parse("ID4"s + tagOf(3, 0, title).substr(3)), util::Exception);
    EXPECT_THROW((void)id3v2::parse(tagOf(3, 0, title + "!@#$ is no name")), util::Exception);
    EXPECT_THROW((void)id3v2::parse(tagOf(3, 0, "TIT2"s + bigEndian(0xFFFFFFFF, 4) + "\0\0x"s)),
                 util::Exception);
    EXPECT_THROW((void)id3v2::parse(tagOf(3, 0, title).substr(0, 15)), util::Exception);
    EXPECT_THROW((void)id3v2::parse(tagOf(3, 0x40, bigEndian(0xFFFFFFF0, 4))), util::Exception);
    EXPECT_THROW((void)collected(tagOf(3, 0, frame3("APIC", "packed", "\0\x80"s))), util::Exception);
    EXPECT_NO_THROW((void)collected(tagOf(3, 0, frame3("APIC", "\x01"s))));
}

} // namespace
