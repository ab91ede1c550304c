// SPDX-License-Identifier: MIT
#include "tags/FrontCover.h"

#include "tags/Bytes.h"
#include "tags/Verification.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/tags/Programs.h"
#include "tests/unit/tags/SongTest.h"
#include "tests/unit/tags/Songs.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <random>
#include <string>

namespace {

using std::filesystem::path;
using tests::bytesOf;
using tests::coverOf;
using tests::jpegOf;
using tests::pngOf;
using tests::SongTest;

/** Noise, because no encoder can compress it. */
std::string largePng() {
    std::mt19937 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same picture each time
    const tests::Picture picture = tests::picture(600, 600);
    for (int y = 0; y < 600; ++y)
        for (int x = 0; x < 600; ++x)
            gdImageSetPixel(picture.get(), x, y, static_cast<int>(random() & 0xFFFFFFU));
    return tests::png(picture);
}

/** Tests for every kind of file. */
class EverySong : public SongTest, public testing::WithParamInterface<std::string> {};

TEST_P(EverySong, TakesACoverAndKeepsTheRest) {
    const path song = tests::makeSong(GetParam(), folder());
    const std::string oldFront = pngOf(40, 1);
    const std::string back = pngOf(30, 2);
    tests::addTags(song, GetParam(), {oldFront, back}, 3);
    EXPECT_TRUE(coverOf(song) == oldFront);
    EXPECT_TRUE(tags::alreadyHas(song, bytesOf(oldFront)));
    EXPECT_FALSE(tags::alreadyHas(song, bytesOf(back)));

    const std::string sound = tests::soundOf(song);
    const std::string texts = tests::textsOf(song);
    EXPECT_NE(texts.find("Half Seconds"), std::string::npos);
    for (const std::string& cover : {jpegOf(50, 3), largePng(), jpegOf(20, 4)}) {
        setCover(song, cover);
        EXPECT_EQ(tests::soundOf(song), sound);
        EXPECT_EQ(tests::textsOf(song), texts);
        EXPECT_EQ(tests::pictureCountOf(song), 2U); // front and back
    }
}

TEST_P(EverySong, TakesACoverWhereThereIsNoTag) {
    const path song = tests::makeSong(GetParam(), folder());
    EXPECT_EQ(coverOf(song), "");
    EXPECT_FALSE(tags::alreadyHas(song, bytesOf(pngOf(10, 1))));
    const std::string sound = tests::soundOf(song);
    const std::string texts = tests::textsOf(song);
    setCover(song, jpegOf(50, 3));
    setCover(song, jpegOf(50, 4));
    EXPECT_EQ(tests::soundOf(song), sound);
    EXPECT_EQ(tests::textsOf(song), texts);
    EXPECT_EQ(tests::pictureCountOf(song), 1U);
}

TEST_P(EverySong, IsKnownByItsContentAlone) {
    const path song = tests::makeSong(GetParam(), folder());
    const path renamed = folder() / "song.txt";
    std::filesystem::rename(song, renamed);
    const std::string cover = jpegOf(30, 1);
    EXPECT_TRUE(coverOf(withCover(renamed, cover)) == cover);
}

/**
 * A wrong byte that goes unnoticed must not matter. The cover's file name in a tag has such bytes, for
 * example.
 */
TEST_P(EverySong, IsNoProofWithAWrongByteThatMatters) {
    const path song = tests::makeSong(GetParam(), folder());
    tests::addTags(song, GetParam(), {pngOf(8, 1), pngOf(8, 2)}, 3);
    const std::string cover = jpegOf(8, 3);
    const path copy = withCover(song, cover);
    const std::string good = tests::fileBytes(copy);
    const std::string sound = tests::soundOf(copy);
    const std::string texts = tests::textsOf(copy);
    std::mt19937 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same places each time
    int refused = 0;
    for (int round = 0; round < 150; ++round) {
        const std::size_t at = std::uniform_int_distribution<std::size_t>(0, good.size() - 1)(random);
        if (good.substr(at < 16 ? 0 : at - 16, 32) == std::string(32, '\0')) continue; // padding
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 0x10);
        tests::writeFile(copy, bad);
        try {
            tags::verify(song, copy, bytesOf(cover));
            SCOPED_TRACE(at);
            EXPECT_EQ(tests::soundOf(copy), sound);
            EXPECT_EQ(tests::textsOf(copy), texts);
            EXPECT_TRUE(tests::firstPictureOf(copy) == cover);
        } catch (const util::Exception&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 50);
    tests::writeFile(copy, good);
    EXPECT_NO_THROW(tags::verify(song, copy, bytesOf(cover)));
    EXPECT_THROW(tags::verify(song, copy, bytesOf(jpegOf(8, 4))), util::Exception);
    EXPECT_THROW(tags::verify(song, song, bytesOf(cover)), util::Exception);
}

INSTANTIATE_TEST_SUITE_P(Kind, EverySong, testing::ValuesIn(tests::songKinds()),
                         [](const auto& test) { return test.param; });

/** Tests for one kind of file each. */
class OneSong : public SongTest {};

/** Replaces the first `headSize` bytes of the file. */
void replaceHead(const path& song, std::size_t headSize, const std::string& head) {
    tests::writeFile(song, head + tests::fileBytes(song).substr(headSize));
}

std::string id3v2TagWith(const std::string& frames, char version) {
    return std::string("ID3") + version + std::string(4, '\0') + static_cast<char>(frames.size() >> 7U) +
           static_cast<char>(frames.size() & 0x7FU) + frames;
}

TEST_F(OneSong, Mp3KeepsTheVersionOfItsTagAndGetsNoOther) {
    for (const int version : {3, 4}) {
        const path song = tests::makeSong("mp3", folder());
        tests::addTags(song, "mp3", {pngOf(8, 1), pngOf(8, 2)}, version);
        setCover(song, jpegOf(16, 3));
        const std::string bytes = tests::fileBytes(song);
        EXPECT_EQ(bytes[3], static_cast<char>(version));
        EXPECT_NE(bytes.substr(bytes.size() - 128, 3), "TAG");
        std::filesystem::remove(song);
    }
}

TEST_F(OneSong, Mp3KeepsItsOldTagOfVersionTwo) {
    const path song = tests::makeSong("mp3", folder());
    const std::string title("TT2\0\0\6\0title", 12);
    replaceHead(song, 0, id3v2TagWith(title, 2));
    setCover(song, jpegOf(16, 3));
    const std::string bytes = tests::fileBytes(song);
    EXPECT_EQ(bytes[3], '\2');
    EXPECT_EQ(bytes.substr(10, title.size()), title);
    EXPECT_NE(tests::textsOf(song).find("title"), std::string::npos);
}

/**
 * Old files have their texts in a tag at the end, where new players don't look. The new tag must have them
 * too.
 */
TEST_F(OneSong, Mp3KeepsTheTagAtItsEndAndItsTextsAreRead) {
    const path song = tests::makeSong("mp3", folder());
    std::string end = "TAG" + std::string(124, '\0') + '\x11';
    end.replace(3, 9, "Caf\xE9 song");
    end.replace(33, 12, "The Testers ");
    end.replace(93, 4, "1999");
    end.replace(97, 4, "Well");
    end[126] = 5;
    tests::writeFile(song, tests::fileBytes(song) + end);
    const std::string texts = tests::textsOf(song);
    setCover(song, jpegOf(16, 3));
    const std::string bytes = tests::fileBytes(song);
    EXPECT_EQ(bytes.substr(bytes.size() - end.size()), end);
    const std::string after = tests::textsOf(song);
    for (const char* text :
         {"title=Caf\xC3\xA9 song\n", "artist=The Testers\n", "date=1999", "track=5", "genre=Rock", "Well"})
        EXPECT_NE(after.find(text), std::string::npos) << after << texts;
}

/** The longest songs are often played over the network, so their sound must not move without need. */
TEST_F(OneSong, PaddingIsUsedUpBeforeTheSoundMoves) {
    for (const std::string kind : {"mp3", "flac", "aac", "faststart", "wma"}) {
        const path song = tests::makeSong(kind, folder());
        setCover(song, jpegOf(200, 1));
        const auto size = std::filesystem::file_size(song);
        setCover(song, jpegOf(210, 2));
        setCover(song, jpegOf(100, 3));
        EXPECT_EQ(std::filesystem::file_size(song), size) << kind;
    }
}

TEST_F(OneSong, FlacHasOneFrontCoverInAllItsTags) {
    const path song = tests::makeSong("flac", folder());
    tests::addTags(song, "flac", {pngOf(8, 1), pngOf(8, 2)}, 3);
    const path mp3 = tests::makeSong("mp3", folder());
    tests::addTags(mp3, "mp3", {pngOf(8, 3), pngOf(8, 4)}, 3);
    const std::string tagged = tests::fileBytes(mp3);
    const std::size_t tagSize =
        10 + static_cast<std::size_t>(tagged[8]) * 128 + static_cast<std::size_t>(tagged[9]);
    replaceHead(song, 0, tagged.substr(0, tagSize));
    EXPECT_FALSE(tags::alreadyHas(song, bytesOf(pngOf(8, 1)))) << "the ID3v2 tag has another";
    const std::string sound = tests::soundOf(song);
    setCover(song, jpegOf(16, 5));
    EXPECT_EQ(tests::soundOf(song), sound);
    const std::string bytes = tests::fileBytes(song);
    EXPECT_EQ(bytes.find(pngOf(8, 1)), std::string::npos);
    EXPECT_EQ(bytes.find(pngOf(8, 3)), std::string::npos);
    EXPECT_NE(bytes.find(pngOf(8, 2)), std::string::npos);
    EXPECT_NE(bytes.find(pngOf(8, 4)), std::string::npos);
    EXPECT_NE(bytes.find("PRIV"), std::string::npos);
}

TEST_F(OneSong, FlacLosesPicturesInItsComment) {
    const path song = tests::makeSong("flac", folder());
    const path tagged = folder() / "tagged.flac";
    tests::run({"ffmpeg", "-v", "error", "-i", song.string(), "-c", "copy", "-metadata", "COVERART=/9j/4AAA",
                "-metadata", "COVERARTMIME=image/jpeg", "-metadata", "title=t", tagged.string()});
    EXPECT_FALSE(coverOf(tagged).empty());
    setCover(tagged, jpegOf(16, 5));
    EXPECT_EQ(tests::fileBytes(tagged).find("COVERART"), std::string::npos);
}

/** TagLib notices neither of these changes. */
TEST_F(OneSong, IsNoProofWhenAnUnknownTagOrAnotherPictureIsDifferent) {
    const path song = tests::makeSong("mp3", folder());
    tests::addTags(song, "mp3", {pngOf(8, 1), pngOf(8, 2)}, 3);
    const std::string cover = jpegOf(16, 3);
    const path copy = withCover(song, cover);
    const std::string good = tests::fileBytes(copy);
    for (const std::string& text : {std::string("tests\0\xFF", 7), std::string("the back")}) {
        std::string bad = good;
        bad[bad.find(text) + text.size() - 1] = 'x';
        tests::writeFile(copy, bad);
        EXPECT_THROW(tags::verify(song, copy, bytesOf(cover)), util::Exception);
    }
}

TEST_F(OneSong, WmaKnowsItsNewSize) {
    const path song = tests::makeSong("wma", folder());
    const auto notes = [&](std::uint64_t size) {
        return tests::fileBytes(song).find(tags::littleEndian(size, 8)) != std::string::npos;
    };
    ASSERT_TRUE(notes(std::filesystem::file_size(song)));
    setCover(song, jpegOf(100, 3));
    EXPECT_TRUE(notes(std::filesystem::file_size(song)));
}

/** Some programs lose the mark on the last header. The sound after it must not be read as a header. */
TEST_F(OneSong, OggFlacIsReadWithoutTheMarkOnItsLastHeader) {
    const path song = tests::makeSong("oggflac", folder());
    tests::addTags(song, "oggflac", {pngOf(8, 1), pngOf(8, 2)}, 3);
    std::string bytes = tests::fileBytes(song);
    const std::size_t comment = bytes.find('\x84', bytes.find("OggS", 4));
    bytes[comment] = '\4';
    tests::writeFile(song, bytes);
    EXPECT_TRUE(coverOf(song) == pngOf(8, 1));
}

TEST_F(OneSong, Mp4InFragmentsIsRefusedWhenTheSoundWouldMove) {
    const path song = folder() / "fragments.m4a";
    tests::run({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine=duration=2", "-c:a", "aac", "-movflags",
                "+frag_keyframe+empty_moov", song.string()});
    EXPECT_EQ(coverOf(song), "");
    EXPECT_THROW(withCover(song, jpegOf(16, 1)), util::Exception);
}

TEST_F(OneSong, Mp4MayEndInAFewBytesThatAreNoAtom) {
    const path song = tests::makeSong("faststart", folder());
    tests::writeFile(song, tests::fileBytes(song) + "xyz");
    setCover(song, jpegOf(16, 1));
    EXPECT_TRUE(tests::fileBytes(song).ends_with("xyz"));
}

TEST_F(OneSong, IsGivenNoOtherFormatsAndNothingTooLarge) {
    const path song = tests::makeSong("mp3", folder());
    const path ogg = tests::makeSong("vorbis", folder());
    EXPECT_EQ(tags::maxPictureBytes(song), 10'000'000U);
    EXPECT_EQ(tags::maxPictureBytes(ogg), 7'500'000U); // 10 MB in Base64
    const std::string before = tests::fileBytes(song);
    std::string large = jpegOf(16, 1);
    large.resize(10'000'001);
    for (const std::string& bad : {std::string(), std::string("text"), std::string("GIF89a"), large})
        EXPECT_THROW(withCover(song, bad), util::Exception);
    EXPECT_TRUE(tests::fileBytes(song) == before);
}

TEST_F(OneSong, IsShownWithTheFirstPictureWhenNoneIsMarkedAsFront) {
    const path song = tests::makeSong("mp3", folder());
    const std::string png = pngOf(8, 1);
    const auto frame = [](const std::string& image) {
        const std::string content = std::string("\0JPG\0\0\0", 7) + image;
        return "APIC" + std::string(2, '\0') + static_cast<char>(content.size() >> 8U) +
               static_cast<char>(content.size() & 0xFFU) + std::string(2, '\0') + content;
    };
    replaceHead(song, 0, id3v2TagWith(frame("no image") + frame(png), 3));
    EXPECT_TRUE(coverOf(song) == png);
    EXPECT_TRUE(tags::alreadyHas(song, bytesOf(png)));
}

} // namespace
