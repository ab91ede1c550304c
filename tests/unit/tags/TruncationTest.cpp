// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tests/unit/tags/Programs.h"
#include "tests/unit/tags/SongTest.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using tags::littleEndian;
using tests::fileBytes;
using tests::jpegOf;
using tests::makeSong;

const std::string id3v1 = "TAG" + std::string(125, 'x');

std::string apeTag(std::size_t size) {
    const std::string item = littleEndian(size, 4) + littleEndian(0, 4) + "Title\0"s + std::string(size, 'x');
    const auto end = [&](std::uint32_t flags) {
        return "APETAGEX"s + littleEndian(2000, 4) + littleEndian(item.size() + 32, 4) + littleEndian(1, 4) +
               littleEndian(flags, 4) + std::string(8, '\0');
    };
    return end(0xA0000000) + item + end(0x80000000);
}

std::string noise(std::size_t size) {
    std::mt19937 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same noise each time
    std::string bytes(size, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random() & 0xFFU);
    return bytes;
}

class Truncation : public tests::SongTest {
protected:
    /** The reason why a file with these bytes is refused; empty if it takes a cover. */
    std::string refusal(const std::string& bytes) const {
        const path song = folder() / "song";
        tests::writeFile(song, bytes);
        try {
            (void)withCover(song, jpegOf(16, 1));
        } catch (const util::Exception& exception) {
            return exception.what();
        }
        return "";
    }

    [[nodiscard]] std::string bytesOfSong(const std::string& kind) const {
        return fileBytes(makeSong(kind, folder()));
    }

    /** Two seconds of noise, encoded by ffmpeg with these options. */
    [[nodiscard]] std::string encoded(const std::string& extension, std::vector<std::string> options) const {
        const path song = folder() / ("encoded." + extension);
        std::vector<std::string> words{"ffmpeg", "-v",    "error", "-y",
                                       "-f",     "lavfi", "-i",    "anoisesrc=d=2:c=pink:seed=3"};
        words.insert(words.end(), options.begin(), options.end());
        words.push_back(song.string());
        tests::run(words);
        return fileBytes(song);
    }

    /** The same, written to a pipe: the encoder can't go back to store lengths. */
    static std::string piped(const std::string& format, const std::vector<std::string>& options) {
        std::vector<std::string> words{
            "ffmpeg", "-v", "error", "-f", "lavfi", "-i", "anoisesrc=d=2:c=pink:seed=3"};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), {"-f", format, "-"});
        return tests::run(words);
    }
};

class EveryKind : public Truncation, public testing::WithParamInterface<std::string> {};

TEST_P(EveryKind, IsRefusedWhereverItIsCutOff) {
    std::string whole = bytesOfSong(GetParam());
    whole.resize(std::min(whole.size(), whole.find("APETAGEX"))); // a missing tag isn't noticed
    ASSERT_EQ(refusal(whole), "");
    for (const std::size_t left : {whole.size() / 2, whole.size() - 1, std::size_t{40}})
        EXPECT_TRUE(refusal(whole.substr(0, left)).ends_with(" is truncated."))
            << left << " bytes: " << refusal(whole.substr(0, left));
}

TEST_P(EveryKind, ShowsItsCoverAlsoWhenItIsCutOff) {
    if (GetParam() == "mp3" || GetParam() == "flac" || GetParam() == "wma") {
        const path song = makeSong(GetParam(), folder());
        setCover(song, jpegOf(16, 1));
        const std::string whole = fileBytes(song);
        tests::writeFile(song, whole.substr(0, whole.size() - 100));
        EXPECT_TRUE(tests::coverOf(song) == jpegOf(16, 1));
    }
}

INSTANTIATE_TEST_SUITE_P(Kind, EveryKind, testing::ValuesIn(tests::songKinds()),
                         [](const auto& test) { return test.param; });

/** Other programs append many kinds of data. */
TEST_F(Truncation, IsNotSeenInWhatStandsBehindTheSound) {
    for (const std::string kind : {"mp3", "flac", "wma", "wavpack", "musepack", "ape"}) {
        const std::string whole = bytesOfSong(kind);
        for (const std::string& behind :
             {id3v1, apeTag(10), apeTag(3'000'000) + id3v1, "x"s, std::string(5000, '\0'), noise(300'000)})
            EXPECT_EQ(refusal(whole + behind), "") << kind << " and " << behind.size() << " bytes";
    }
}

TEST_F(Truncation, IsSeenBeforeTagsThatWereAddedLater) {
    for (const std::string kind : {"flac", "wavpack", "musepack", "ape"}) {
        const std::string whole = bytesOfSong(kind);
        const std::string most = whole.substr(0, whole.size() - whole.size() / 4);
        for (const std::string& behind : {id3v1, apeTag(3'000'000), apeTag(10) + id3v1})
            EXPECT_TRUE(refusal(most + behind).ends_with(" is truncated.")) << kind;
    }
}

TEST_F(Truncation, OfFlacIsSeenAnywhere) {
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"-ac", "1"}, {"-ar", "8000"}, {"-ar", "96000", "-sample_fmt", "s32"}, {"-frame_size", "999"}}) {
        const std::string whole = encoded("flac", options);
        EXPECT_EQ(refusal(whole), "");
        for (std::size_t missing = 1; missing < whole.size() - 9000; missing += 1 + missing / 3)
            EXPECT_EQ(refusal(whole.substr(0, whole.size() - missing)), "The FLAC file is truncated.")
                << missing;
    }
}

TEST_F(Truncation, OfFlacWithoutALengthIsSeenInAFrame) {
    const std::string whole = piped("flac", {});
    constexpr std::size_t streamInfoAt = 8;
    ASSERT_EQ(tags::readerOf(whole, "FLAC").bigEndian(streamInfoAt + 14, 4), 0U) << "it knows its length";
    for (const std::string& behind : {""s, id3v1, apeTag(10), std::string(5000, '\0')})
        EXPECT_EQ(refusal(whole + behind), "");
    for (const std::size_t missing : {std::size_t{1}, std::size_t{10}, whole.size() / 2})
        EXPECT_EQ(refusal(whole.substr(0, whole.size() - missing)), "The FLAC file is truncated.");
}

TEST_F(Truncation, OfFlacIsNotKnownWhereItsEndIsFarAway) {
    const std::string whole = bytesOfSong("flac");
    EXPECT_EQ(refusal(whole + noise(1'500'000)), "");
}

TEST_F(Truncation, OfFlacWithOneSample) {
    const std::string whole = encoded("flac", {"-af", "atrim=end_sample=1"});
    EXPECT_EQ(refusal(whole), "");
    EXPECT_EQ(refusal(whole.substr(0, whole.size() - 1)), "The FLAC file is truncated.");
}

/** The next frame after `at`. Frames of an MP3 at a constant 128 kbit/s are 417 or 418 bytes long. */
std::size_t frameBorder(const std::string& mp3, std::size_t at) { return mp3.find("\xFF\xFB\x90"s, at); }

TEST_F(Truncation, OfMp3IsSeenBetweenFramesWhereItsLengthIsNoted) {
    const std::vector<std::string> options{"-c:a", "libmp3lame", "-b:a",  "128k",           "-ac",
                                           "2",    "-ar",        "44100", "-id3v2_version", "0"};
    const std::string whole = encoded("mp3", options);
    ASSERT_NE(whole.find("Info"), std::string::npos);
    EXPECT_EQ(refusal(whole), "");
    EXPECT_EQ(refusal(whole.substr(0, frameBorder(whole, whole.size() / 2))), "The MP3 file is truncated.");
    const std::size_t length = std::string("Info").size() + 8; // after the flags and the number of frames
    std::string vbri = whole;
    vbri.replace(vbri.find("Info"), 4, "none");
    EXPECT_EQ(refusal(vbri.substr(0, frameBorder(whole, whole.size() / 2))), "") << "it isn't noted";
    vbri.replace(36, 14, "VBRI"s + std::string(6, '\0') + whole.substr(whole.find("Info") + length, 4));
    EXPECT_EQ(refusal(vbri), "");
    EXPECT_EQ(refusal(vbri.substr(0, frameBorder(whole, whole.size() / 2))), "The MP3 file is truncated.");
}

TEST_F(Truncation, OfMp3IsSeenInAllLayersAndVersions) {
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"-c:a", "mp2", "-f", "mp2"},
             {"-c:a", "mp2", "-f", "mp2", "-ar", "22050"},
             {"-c:a", "libmp3lame", "-ar", "22050", "-ac", "1", "-q:a", "4"},
             {"-c:a", "libmp3lame", "-ar", "8000", "-b:a", "16k", "-write_xing", "0"}}) {
        const std::string whole = encoded("mp3", options);
        EXPECT_EQ(refusal(whole), "");
        EXPECT_EQ(refusal(whole.substr(0, whole.size() - 3)), "The MP3 file is truncated.");
    }
}

/** The positions of the WavPack blocks. */
std::vector<std::size_t> blocksOf(const std::string& wavPack) {
    std::vector<std::size_t> blocks;
    for (std::size_t at = wavPack.find("wvpk"); at != std::string::npos; at = wavPack.find("wvpk", at + 1))
        blocks.push_back(at);
    return blocks;
}

TEST_F(Truncation, OfWavPackIsSeenBetweenBlocksWhereItsLengthIsNoted) {
    std::string whole = encoded("wv", {"-bitexact"});
    const std::vector<std::size_t> blocks = blocksOf(whole);
    ASSERT_GE(blocks.size(), 2U);
    EXPECT_EQ(refusal(whole.substr(0, blocks.back())), "The WavPack file is truncated.");
    whole.replace(12, 4, 4, '\xFF');
    EXPECT_EQ(refusal(whole), "");
    EXPECT_EQ(refusal(whole.substr(0, blocks.back())), "") << "it isn't noted";
    EXPECT_EQ(refusal(whole.substr(0, blocks.back() + 20)), "The WavPack file is truncated.");
}

TEST_F(Truncation, OfWmaIsNotKnownForABroadcast) {
    const std::string whole = piped("asf", {"-c:a", "wmav2"});
    EXPECT_EQ(refusal(whole), "");
    EXPECT_EQ(refusal(whole.substr(0, whole.size() / 2)), "");
}

/**
 * A Musepack file of version 7. No packaged program makes one.
 * @param frames the length of each frame in bits
 */
std::string musepack7(const std::vector<std::uint32_t>& frames) {
    std::vector<bool> bits;
    for (const std::uint32_t length : frames) {
        for (unsigned bit = 20; bit-- > 0;)
            bits.push_back((length >> bit & 1U) != 0);
        bits.insert(bits.end(), length, true);
    }
    std::string file = "MP+\7" + littleEndian(frames.size(), 4) + std::string(17, '\0');
    file.resize((200 + bits.size() + 31) / 32 * 4);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        const std::size_t at = i + 200;
        char& byte = file[at / 32 * 4 + 3 - at % 32 / 8];
        if (bits[i]) byte = static_cast<char>(static_cast<unsigned char>(byte) | 0x80U >> at % 8);
    }
    return file;
}

TEST_F(Truncation, OfMusepack7IsSeenAnywhere) {
    std::vector<std::uint32_t> frames(500);
    for (std::size_t i = 0; i < frames.size(); ++i)
        frames[i] = static_cast<std::uint32_t>(i * 7919 % 5000);
    const std::string whole = musepack7(frames);
    ASSERT_GT(whole.size(), 100'000U);
    EXPECT_EQ(refusal(whole), "");
    EXPECT_EQ(refusal(whole + apeTag(50) + id3v1), "");
    EXPECT_EQ(refusal(whole + noise(99)), "");
    EXPECT_EQ(refusal("ID3\4\0\0\0\0\0\5....."s + whole), "");
    for (const std::size_t missing : {std::size_t{1}, std::size_t{4}, std::size_t{99}, whole.size() / 2}) {
        const std::string cut = whole.substr(0, whole.size() - missing);
        EXPECT_EQ(refusal(cut), "The Musepack file is truncated.") << missing;
        EXPECT_EQ(refusal(cut + apeTag(50)), "The Musepack file is truncated.") << missing;
    }
    for (std::uint32_t bits = 0; bits < 70; ++bits) {
        const std::string small = musepack7({bits});
        EXPECT_EQ(refusal(small), "") << bits;
        EXPECT_EQ(refusal(small.substr(0, small.size() - 1)), "The Musepack file is truncated.") << bits;
    }
}

TEST_F(Truncation, OfUnknownVersionsIsNotKnown) {
    std::string musepack = musepack7({100, 200});
    musepack[3] = '\6';
    EXPECT_EQ(refusal(musepack.substr(0, musepack.size() - 4)), "");
    std::string ape = bytesOfSong("ape");
    ape.replace(4, 2, littleEndian(3970, 2));
    EXPECT_EQ(refusal(ape.substr(0, ape.size() - 4)), "");
}

} // namespace
