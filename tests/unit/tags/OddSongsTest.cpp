// SPDX-License-Identifier: MIT
#include "tests/unit/tags/OddSongs.h"
#include "tags/Bytes.h"
#include "tags/FrontCover.h"
#include "tags/SecondOpinion.h"
#include "tests/unit/tags/Programs.h"
#include "tests/unit/tags/SongTest.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

namespace {

using namespace std::string_literals;
using std::filesystem::path;
using tags::bigEndian;
using tags::littleEndian;
using tests::appendToMovie;
using tests::bareMp4;
using tests::bytesOf;
using tests::coverOf;
using tests::fileBytes;
using tests::id3v2;
using tests::jpegOf;
using tests::makeSong;
using tests::pngOf;
using tests::writeFile;

/** Files from programs that interpret the formats in their own way, and hostile files. */
class OddSong : public tests::SongTest {
protected:
    /**
     * Expects the song to take the cover or to be refused. Anything else fails the test or ends the process.
     */
    void expectTakenOrRefused(const path& song) const {
        const auto begin = std::chrono::steady_clock::now();
        try {
            tags::verify(song, withCover(song, jpegOf(16, 1)), bytesOf(jpegOf(16, 1)));
        } catch (const util::Exception&) {
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::minutes(1));
    }
};

TEST_F(OddSong, Mp3WithAnOldTagBehindTheNewOne) {
    const path song = makeSong("mp3", folder());
    const std::string content(100'000, 'x'); // beyond the range searched for sound
    const std::string old = id3v2(3, "PRIV" + bigEndian(content.size(), 4) + "\0\0"s + content);
    const std::string sound = fileBytes(song);
    writeFile(song, id3v2(3, "TIT2\0\0\0\2\0\0\0t"s) + old + sound);
    setCover(song, jpegOf(16, 1));
    EXPECT_TRUE(fileBytes(song).ends_with(old + sound));
}

TEST_F(OddSong, Mp3WithATagAtItsEndHasItStill) {
    const path song = makeSong("mp3", folder());
    const std::string ape = "APETAGEX"s + littleEndian(2000, 4) + littleEndian(32, 4) + littleEndian(0, 4) +
                            littleEndian(0, 4) + std::string(8, '\0');
    writeFile(song, fileBytes(song) + ape);
    setCover(song, jpegOf(16, 1));
    EXPECT_TRUE(fileBytes(song).ends_with(ape));
}

TEST_F(OddSong, Mp3WithAnExtendedHeader) {
    const path song = makeSong("mp3", folder());
    std::string tag = id3v2(3, bigEndian(6, 4) + std::string(6, '\0') + "TIT2\0\0\0\6\0\0\0title"s);
    tag[5] = 0x40;
    writeFile(song, tag + fileBytes(song));
    setCover(song, jpegOf(16, 1));
    EXPECT_NE(tests::textsOf(song).find("title"), std::string::npos);
}

/** A WAV file of silence at 8000 bytes a second, with `behind` after the sound. */
std::string waveOf(std::size_t bytesOfSound, const std::string& behind) {
    const std::string format = "fmt "s + littleEndian(16, 4) + littleEndian(1, 2) + littleEndian(1, 2) +
                               littleEndian(8000, 4) + littleEndian(8000, 4) + littleEndian(1, 2) +
                               littleEndian(8, 2);
    const std::string chunks =
        "WAVE" + format + "data" + littleEndian(bytesOfSound, 4) + std::string(bytesOfSound, '\x80') + behind;
    return "RIFF" + littleEndian(chunks.size(), 4) + chunks;
}

TEST_F(OddSong, WavOfOddSize) {
    const path song = folder() / "odd.wav";
    const std::string list = "LIST"s + littleEndian(18, 4) + "INFOINAM" + littleEndian(6, 4) + "title\0"s;
    for (const std::string& behind :
         {""s, "\0"s, "\0"s + list,
          "\0"s + list + "id3 "s + littleEndian(21, 4) + id3v2(3, "TIT2\0\0\0\1\0\0\0"s)}) {
        writeFile(song, waveOf(801, behind));
        const std::string sound = tests::soundOf(song);
        setCover(song, jpegOf(16, 1));
        setCover(song, jpegOf(17, 2));
        EXPECT_EQ(tests::soundOf(song), sound);
        const std::string bytes = fileBytes(song);
        EXPECT_EQ(bytes.substr(4, 4), littleEndian(bytes.size() - 8, 4));
        EXPECT_EQ(bytes.find(list) != std::string::npos, behind.size() > 1);
        EXPECT_EQ(bytes.size() % 2, 0U);
    }
}

/** A WAV chunk, or an item of its INFO list. */
std::string item(const std::string& id, const std::string& text) {
    return id + littleEndian(text.size(), 4) + text + std::string(text.size() % 2, '\0');
}

/** Players ignore the INFO list if there is an ID3v2 tag, so the tag must have the same texts. */
TEST_F(OddSong, WavKeepsItsOwnTextsAndTheyAreRead) {
    const path song = folder() / "info.wav";
    for (const std::string& title : {"Caf\xE9"s, "Caf\xC3\xA9"s, "Caf\xC3\xA9 \xF0\x9F\x8E\xB5"s}) {
        const std::string list = "INFO" + item("INAM", title) + item("IART", "The Testers\0"s) +
                                 item("ICRD", "1999-12-31") + item("ICMT", "\xC3\x9F") + item("IPRT", "5") +
                                 item("ISFT", "tests");
        writeFile(song, waveOf(800, item("LIST", list)));
        setCover(song, jpegOf(16, 1));
        EXPECT_NE(fileBytes(song).find(list), std::string::npos);
        EXPECT_EQ(tests::run({"/usr/bin/python3", "-c",
                              "import sys, mutagen.wave\ntags = mutagen.wave.WAVE(sys.argv[1]).tags\n"
                              "sys.stdout.reconfigure(encoding='utf-8')\n"
                              "for id in ['TIT2', 'TPE1', 'TDRC', 'TRCK', 'COMM']: print(tags.getall(id)[0])",
                              song.string()}),
                  (title.size() == 4 ? "Caf\xC3\xA9" : title) + "\nThe Testers\n1999\n5\n\xC3\x9F\n");
        setCover(song, jpegOf(17, 1));
    }
}

/**
 * The encoder's name stays in the INFO list only: TagLib 2 reads more there than the new tag has a place for.
 */
TEST_F(OddSong, WavWithoutAUsualTextInItsNewTagIsNoticed) {
    const path song = folder() / "info.wav";
    const path tagged = folder() / "tagged.wav";
    const std::string list =
        item("LIST", "INFO" + item("INAM", "title") + item("IART", "artist") + item("ISFT", "tests"));
    const auto frame = [](const std::string& id, const std::string& content) {
        return id + bigEndian(content.size() + 1, 4) + "\0\0\0"s + content; // flags, encoding
    };
    writeFile(song, waveOf(800, list));
    const auto accepts = [&](const std::string& texts) {
        const std::string front = frame("APIC", "image/png\0\3\0picture"s);
        writeFile(tagged, waveOf(800, list + item("id3 ", id3v2(3, texts + front))));
        try {
            tags::secondOpinion(song, tagged, tags::Container::Wav, "picture");
            return true;
        } catch (const util::Exception&) {
            return false;
        }
    };
    EXPECT_TRUE(accepts(frame("TIT2", "title") + frame("TPE1", "artist")));
    EXPECT_FALSE(accepts(frame("TIT2", "title")));
    EXPECT_FALSE(accepts(frame("TIT2", "title") + frame("TPE1", "another artist")));
    EXPECT_FALSE(accepts(""));
}

TEST_F(OddSong, WavWithoutRoomIsRefusedBeforeItIsChanged) {
    const path song = folder() / "large.wav";
    const std::uint64_t size = 0xFFFFFFFFU - 5000;
    std::string head = waveOf(0, "");
    head.replace(4, 4, littleEndian(size - 8, 4));
    head.replace(head.size() - 4, 4, littleEndian(size - head.size(), 4));
    writeFile(song, head);
    std::filesystem::resize_file(song, size); // sparse, takes no disk space
    EXPECT_LT(tags::maxPictureBytes(song), 5000U);
    EXPECT_GT(tags::maxPictureBytes(song), 4000U);
    std::string picture = jpegOf(16, 1);
    picture.resize(5000);
    EXPECT_THROW(withCover(song, picture), util::Exception);
    EXPECT_EQ(std::filesystem::file_size(song), size);
}

TEST_F(OddSong, ApeTagWithoutHeaderBeforeAnId3v1Tag) {
    const path song = makeSong("wavpack", folder());
    const std::string item = littleEndian(3, 4) + littleEndian(0, 4) + "Title\0abc"s;
    const std::string footer = "APETAGEX"s + littleEndian(2000, 4) + littleEndian(item.size() + 32, 4) +
                               littleEndian(1, 4) + littleEndian(0, 4) + std::string(8, '\0');
    const std::string old = "TAG" + std::string(125, 'x');
    const std::string sound = fileBytes(song);
    writeFile(song, sound + item + footer + old);
    const path copy = withCover(song, jpegOf(16, 1));
    tags::verify(song, copy, bytesOf(jpegOf(16, 1)));
    std::filesystem::rename(copy, song);
    const std::string bytes = fileBytes(song);
    EXPECT_TRUE(bytes.ends_with(old));
    EXPECT_TRUE(bytes.starts_with(sound + "APETAGEX"));
    EXPECT_NE(bytes.find(item), std::string::npos);
}

/** Runs Python code that edits the pages of an Ogg file: the list "pages". */
void editPages(const path& song, const std::string& code) {
    tests::run({"/usr/bin/python3", "-c", R"(
import sys
from mutagen.ogg import OggPage
pages = []
with open(sys.argv[1], "rb") as file:
    try:
        while True:
            pages.append(OggPage(file))
    except EOFError:
        pass
exec(sys.argv[2])
with open(sys.argv[1], "wb") as file:
    for page in pages:
        file.write(page.write())
)",
                song.string(), code});
}

TEST_F(OddSong, OggFlacWithPicturesInPacketsOfTheirOwn) {
    const path song = makeSong("oggflac", folder());
    const auto block = [](int type, const std::string& image) {
        return "\6"s + bigEndian(32 + image.size(), 3) + bigEndian(static_cast<unsigned>(type), 4) +
               std::string(24, '\0') + bigEndian(image.size(), 4) + image;
    };
    writeFile(folder() / "front", block(3, pngOf(8, 1)));
    writeFile(folder() / "back", block(4, pngOf(8, 2)));
    editPages(song, R"(
extra = OggPage()
folder = sys.argv[1].rsplit("/", 1)[0]
extra.packets = [open(folder + "/front", "rb").read(), open(folder + "/back", "rb").read()]
extra.serial, extra.sequence, extra.position = pages[0].serial, 2, 0
last = pages[1].packets[-1]
extra.packets[1] = bytes([extra.packets[1][0] | 0x80]) + extra.packets[1][1:]
pages[1].packets[-1] = bytes([last[0] & 0x7F]) + last[1:]
for page in pages[2:]:
    page.sequence += 1
pages.insert(2, extra)
)");
    EXPECT_TRUE(coverOf(song) == pngOf(8, 1));
    const std::string sound = tests::soundOf(song);
    setCover(song, jpegOf(200, 3));
    EXPECT_EQ(tests::soundOf(song), sound);
    EXPECT_EQ(fileBytes(song).find(pngOf(8, 1)), std::string::npos);
    EXPECT_NE(fileBytes(song).find(pngOf(8, 2)), std::string::npos);
}

TEST_F(OddSong, OggChainWithoutTheMarkOfItsFirstEnd) {
    const path song = makeSong("vorbis", folder());
    const std::string next = fileBytes(song);
    editPages(song, "pages[-1].last = False");
    writeFile(song, fileBytes(song) + next);
    std::string picture = jpegOf(16, 1);
    picture.resize(200'000); // more than a page, so that later pages get new numbers
    setCover(song, picture);
    EXPECT_TRUE(fileBytes(song).ends_with(next)) << "the next song of the chain has its own numbers";
}

TEST_F(OddSong, OggWhoseNumbersBeginLater) {
    const path song = makeSong("opus", folder());
    editPages(song, "for page in pages: page.sequence += 7");
    setCover(song, jpegOf(200, 3));
    editPages(song, "assert [page.sequence for page in pages] == list(range(7, 7 + len(pages)))");
}

TEST_F(OddSong, OggFlacHasTheRoomThatOtherTagsLeave) {
    const path song = makeSong("oggflac", folder());
    tests::run({"/usr/bin/python3", "-c",
                "import sys, mutagen.oggflac\nsong = mutagen.oggflac.OggFLAC(sys.argv[1])\n"
                "song['X-LONG'] = 'x' * 12_000_000\nsong.save()",
                song.string()});
    const std::size_t room = tags::maxPictureBytes(song);
    EXPECT_LT(room, 3'600'000U);
    std::string picture = jpegOf(16, 1);
    picture.resize(room + 1);
    EXPECT_THROW(withCover(song, picture), util::Exception);
    picture.resize(room);
    EXPECT_NO_THROW(tags::verify(song, withCover(song, picture), bytesOf(picture)));
}

std::string atom(const std::string& name, const std::string& content) {
    return bigEndian(content.size() + 8, 4) + name + content;
}

TEST_F(OddSong, Mp4WhoseTagsFollowQuickTime) {
    const path song = bareMp4(folder());
    const std::string title = atom("\xA9nam", atom("data", bigEndian(1, 4) + bigEndian(0, 4) + "a title"));
    const std::string handler = atom("hdlr", std::string(8, '\0') + "mdirappl" + std::string(9, '\0'));
    appendToMovie(song, atom("udta", atom("meta", handler + atom("ilst", title))));
    setCover(song, jpegOf(16, 1));
    EXPECT_NE(tests::textsOf(song).find("a title"), std::string::npos);
}

TEST_F(OddSong, Mp4WhoseSoundCannotMove) {
    const path song = makeSong("faststart", folder());
    const std::string file = fileBytes(song);
    std::string copyProtected = file;
    copyProtected.replace(copyProtected.find("stsc"), 4, "saio");
    for (const std::string& bytes : {file + atom("meta", std::string(4, '\0')), copyProtected}) {
        writeFile(song, bytes);
        std::string picture = jpegOf(16, 1);
        picture.resize(50'000); // more than the padding
        EXPECT_THROW(withCover(song, picture), util::Exception);
        EXPECT_TRUE(fileBytes(song) == bytes);
    }
}

TEST_F(OddSong, Mp4WithLongSizes) {
    const path song = makeSong("aac", folder());
    std::string file = fileBytes(song);
    const std::size_t at = file.rfind("moov") - 4;
    file.replace(at, 8, bigEndian(1, 4) + "moov" + bigEndian(0, 4) + bigEndian(file.size() - at + 8, 4));
    writeFile(song, file);
    setCover(song, jpegOf(100, 1));
}

TEST_F(OddSong, WmaWithExtensionsInExtensions) {
    const path song = makeSong("wma", folder());
    const std::string guid("\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65", 16);
    constexpr std::size_t levels = 200'000;
    std::string nested;
    for (std::size_t left = levels; left > 0; --left)
        nested +=
            guid + littleEndian(left * 46, 8) + std::string(18, '\0') + littleEndian((left - 1) * 46, 4);
    std::string file = fileBytes(song);
    file.replace(16, 8,
                 littleEndian(tags::littleEndian64(tags::readerOf(file, "file"), 16) + nested.size(), 8));
    file.insert(30, nested);
    writeFile(song, file);
    expectTakenOrRefused(song);
}

TEST_F(OddSong, FlacOfManyEmptyBlocksIsRefused) {
    const path song = makeSong("flac", folder());
    std::string file = fileBytes(song);
    std::string blocks;
    for (int i = 0; i < 200'000; ++i)
        blocks += "\1\0\0\0"s;
    constexpr std::size_t behindStreamInfo = 4 + 4 + 34;
    writeFile(song, file.insert(behindStreamInfo, blocks));
    EXPECT_THROW((void)tags::readFrontCover(song), util::Exception);
}

} // namespace
