// SPDX-License-Identifier: MIT
#include "tags/Container.h"

#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/tags/Songs.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace {

using tags::Container;

Container kindOf(const std::string& bytes) {
    const tests::TemporaryFolder folder;
    tests::writeFile(folder.path() / "file.mp3", bytes);
    return tags::containerOf(tags::SongFile(folder.path() / "file.mp3"));
}

TEST(ContainerOf, TellsEveryKindBySound) {
    const std::map<std::string, Container> kinds{
        {"mp3", Container::Mp3},         {"flac", Container::Flac},      {"vorbis", Container::OggVorbis},
        {"opus", Container::OggOpus},    {"speex", Container::OggSpeex}, {"oggflac", Container::OggFlac},
        {"aac", Container::Mp4},         {"alac", Container::Mp4},       {"faststart", Container::Mp4},
        {"wma", Container::Asf},         {"wav", Container::Wav},        {"aiff", Container::Aiff},
        {"wavpack", Container::WavPack}, {"ape", Container::Ape},        {"musepack", Container::Musepack},
    };
    const tests::TemporaryFolder folder;
    for (const std::string& kind : tests::songKinds())
        EXPECT_EQ(kindOf(tests::fileBytes(tests::makeSong(kind, folder.path()))), kinds.at(kind)) << kind;
}

TEST(ContainerOf, FindsSoundBehindATagAndSilence) {
    const tests::TemporaryFolder folder;
    const std::string mp3 = tests::fileBytes(tests::makeSong("mp3", folder.path()));
    const std::string tag("ID3\3\0\0\0\0\0\5.....", 15);
    EXPECT_EQ(kindOf(tag + mp3), Container::Mp3);
    EXPECT_EQ(kindOf(std::string(5000, '\0') + mp3), Container::Mp3);
    EXPECT_EQ(kindOf(tag + tests::fileBytes(tests::makeSong("flac", folder.path()))), Container::Flac);
}

TEST(ContainerOf, RefusesEverythingElse) {
    std::string noise(100'000, '\0');
    std::mt19937 random(17); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same noise each time
    for (char& c : noise)
        c = static_cast<char>(random() & 0xFFU);
    const std::string tagAlone("ID3\3\0\0\0\0\0\5.....", 15);
    for (const std::string& bytes :
         {std::string("x"), std::string("just a text, whatever its name says"), std::string(70'000, '\0'),
          std::string(70'000, '\xFF'), noise, tests::jpeg(tests::picture(200, 200)),
          tests::png(tests::picture(200, 200)), tagAlone, tagAlone + "and no sound",
          std::string("RIFF\0\0\0\0AVI LIST", 16), std::string("OggS")}) {
        EXPECT_THROW((void)kindOf(bytes), util::Exception) << bytes.substr(0, 20);
    }
}

} // namespace
