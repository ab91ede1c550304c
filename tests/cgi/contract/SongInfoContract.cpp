// SPDX-License-Identifier: MIT
#include "app/SongInfo.h"

#include "tests/cgi/contract/Png.h"

#include <gtest/gtest.h>
#include <memory>

TEST(SongInfoContract, IsEmptyAtFirst) {
    SongInfo song;
    EXPECT_EQ(song.getArtist(), "");
    EXPECT_EQ(song.getTitle(), "");
    EXPECT_EQ(song.getAlbum(), "");
    EXPECT_EQ(song.getImageUrl(), "");
    EXPECT_FALSE(song.isSampler());
    EXPECT_FALSE(song.hasImage());
    EXPECT_FALSE(song.isValid());
    ASSERT_NE(song.getImage(), nullptr);
    EXPECT_FALSE(song.getImage()->isValid());
}

TEST(SongInfoContract, GettersGiveWhatSettersGot) {
    const std::string bytes("\xe4 <&>\0\n\xff ", 9);
    SongInfo song;
    song.setArtist("artist" + bytes);
    song.setTitle("title" + bytes);
    song.setAlbum("album" + bytes);
    song.setImageUrl("url" + bytes);
    song.setSampler(true);
    EXPECT_EQ(song.getArtist(), "artist" + bytes);
    EXPECT_EQ(song.getTitle(), "title" + bytes);
    EXPECT_EQ(song.getAlbum(), "album" + bytes);
    EXPECT_EQ(song.getImageUrl(), "url" + bytes);
    EXPECT_TRUE(song.isSampler());
    song.setArtist("");
    song.setSampler(false);
    EXPECT_EQ(song.getArtist(), "");
    EXPECT_FALSE(song.isSampler());
}

TEST(SongInfoContract, IsValidWithAnArtistOrASamplerAndATitleOrAnAlbum) {
    for (int set = 0; set < 16; ++set) {
        SongInfo song;
        if ((set & 1) != 0) song.setArtist("artist");
        if ((set & 2) != 0) song.setSampler(true);
        if ((set & 4) != 0) song.setTitle("title");
        if ((set & 8) != 0) song.setAlbum("album");
        song.setImageUrl("http://covers.example/1.jpg");
        EXPECT_EQ(song.isValid(), (set & 3) != 0 && (set & 12) != 0) << set;
    }
}

TEST(SongInfoContract, TakesAnImageAndDropsIt) {
    auto bytes =
        std::make_unique<std::string>(reinterpret_cast<const char*>(onePixelPng), sizeof onePixelPng);
    SongInfo song;
    song.setImage(bytes->data(), static_cast<unsigned int>(bytes->size()));
    bytes.reset();
    EXPECT_TRUE(song.hasImage());
    EXPECT_TRUE(song.getImage()->isValid());
    song.setImage(nullptr, 0);
    EXPECT_FALSE(song.hasImage());
    EXPECT_FALSE(song.getImage()->isValid());
}

TEST(SongInfoContract, AnImageOfNoBytesIsNone) {
    SongInfo song;
    song.setImage(onePixelPng, sizeof onePixelPng);
    song.setImage(onePixelPng, 0);
    EXPECT_FALSE(song.hasImage());
}

TEST(SongInfoContract, ACopyKeepsFieldsAndImage) {
    auto song = std::make_unique<SongInfo>();
    song->setTitle("title");
    song->setSampler(true);
    song->setImage(onePixelPng, sizeof onePixelPng);
    SongInfo copy(*song);
    SongInfo assigned;
    assigned = *song;
    song.reset();
    for (SongInfo* each : {&copy, &assigned}) {
        EXPECT_EQ(each->getTitle(), "title");
        EXPECT_TRUE(each->isSampler());
        EXPECT_TRUE(each->getImage()->isValid());
    }
    copy.setTitle("other");
    copy.setImage(nullptr, 0);
    EXPECT_EQ(assigned.getTitle(), "title");
    EXPECT_TRUE(assigned.hasImage());
}

TEST(SongInfoContract, DumpTakesEveryRecord) {
    SongInfo song;
    EXPECT_NO_THROW(song.Dump());
    song.setTitle("title");
    EXPECT_NO_THROW(song.Dump());
}
