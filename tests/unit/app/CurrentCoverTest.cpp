// SPDX-License-Identifier: MIT
#include "app/CurrentCover.h"

#include "store/sqlite/Store.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/app/Appliance.h"
#include "util/File.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace {

std::string playing(const std::string& fields) {
    return "<CurrentSong><Song>" + fields + "<File>a.flac</File></Song></CurrentSong>";
}

const std::string lanterns =
    playing("<Artist>Lowbeam</Artist><Title>Quiet Harbour</Title><Album>Paper Lanterns</Album>");

class CurrentCoverTest : public testing::Test {
protected:
    CurrentCoverTest() { store_.setParameter({"deviceUrl", appliance_.url()}); }

    std::string keep(const store::Record& record, int side) {
        std::string bytes = tests::png(tests::picture(side, side));
        (void)store_.storeImage(
            record, {.bytes = tests::bytesOf(bytes), .mimeType = "image/png", .shownAsReceived = true},
            store::IfPresent::Replace);
        return bytes;
    }

    std::string update(const std::string& reply) {
        appliance_.setReply(reply);
        testing::internal::CaptureStderr();
        worked_ = cover_.update(store_, cancelled_);
        said_ = testing::internal::GetCapturedStderr();
        return shown();
    }

    [[nodiscard]] std::string shown() const {
        const std::filesystem::path file = folder_.path() / "current-cover.png";
        if (!std::filesystem::exists(file)) return "(none)";
        return tests::textOf(util::readFile(file.c_str(), 1'000'000).bytes());
    }

    tests::TemporaryFolder folder_;
    store::SqliteStore store_{folder_.path()};
    tests::Appliance appliance_;
    app::CurrentCover cover_{folder_.path()};
    std::atomic<bool> cancelled_ = false;
    std::string said_;
    bool worked_ = false;
};

TEST_F(CurrentCoverTest, IsThatOfTheSongTheApplianceIsAt) {
    const std::string first = keep({.artist = "Lowbeam", .album = "Paper Lanterns"}, 20);
    const std::string second = keep({.artist = "Lowbeam", .title = "Tide"}, 30);
    EXPECT_EQ(update(lanterns), first);
    EXPECT_EQ(update(playing("<Artist>LOWBEAM</Artist><Title>Tide</Title>")), second);
    EXPECT_EQ(appliance_.commands(), std::vector<std::string>(2, "<GetCurrentSong/>"));
    EXPECT_EQ(said_, "");
}

TEST_F(CurrentCoverTest, IsFoundByTheAlbumsArtistAndForSamplers) {
    const std::string album = keep({.artist = "Lowbeam and Friends", .album = "Paper Lanterns"}, 20);
    EXPECT_EQ(update(playing("<Artist>Someone</Artist><Album>Paper Lanterns</Album>"
                             "<AlbumArtist>Lowbeam and Friends</AlbumArtist>")),
              album);
    const std::string sampler = keep({.artist = "Various", .album = "Summer", .sampler = true}, 30);
    EXPECT_EQ(update(playing("<Artist>Someone</Artist><Album>Summer</Album>")), sampler);
}

TEST_F(CurrentCoverTest, IsGoneWhenThereIsNoSongOrNoCoverOfIt) {
    const std::string cover = keep({.artist = "Lowbeam", .album = "Paper Lanterns"}, 20);
    for (const std::string& reply :
         {std::string("<CurrentSong/>"), playing("<Artist>Other</Artist><Title>T</Title>"),
          playing("<Title>Untold</Title>"), playing("")}) {
        EXPECT_EQ(update(lanterns), cover);
        EXPECT_EQ(update(reply), "(none)") << reply;
        EXPECT_TRUE(worked_) << reply;
        EXPECT_EQ(said_, "");
    }
    EXPECT_EQ(update("<CurrentSong/>"), "(none)");
}

TEST_F(CurrentCoverTest, IsNotTouchedWhenItIsTheRightOne) {
    const std::string cover = keep({.artist = "Lowbeam", .album = "Paper Lanterns"}, 20);
    EXPECT_EQ(update(lanterns), cover);
    const std::filesystem::path same = folder_.path() / "same";
    std::filesystem::create_hard_link(folder_.path() / "current-cover.png", same);
    EXPECT_EQ(update(lanterns), cover);
    EXPECT_EQ(std::filesystem::hard_link_count(same), 2U) << "it has been replaced";
    std::string other = cover; // of the same size
    other.back() ^= 1;
    std::ofstream(folder_.path() / "current-cover.png") << other;
    EXPECT_EQ(update(lanterns), cover);
}

TEST_F(CurrentCoverTest, RegistersNothing) {
    (void)update(lanterns);
    EXPECT_EQ(store_.emptyEntries().size(), 0U);
}

TEST_F(CurrentCoverTest, StaysWhenTheApplianceCantBeAskedWhichIsSaidOnce) {
    const std::string cover = keep({.artist = "Lowbeam", .album = "Paper Lanterns"}, 20);
    EXPECT_EQ(update(lanterns), cover);
    EXPECT_EQ(update("<Error code=\"-5\">Busy.</Error>"), cover);
    EXPECT_EQ(said_,
              "sleevery.fcgi: the current cover stays as it is: The appliance refuses the command: Busy.\n");
    EXPECT_EQ(update("<Error code=\"-5\">Busy.</Error>"), cover);
    EXPECT_EQ(said_, "");
    EXPECT_FALSE(worked_);
    EXPECT_EQ(update("garbage"), cover);
    EXPECT_NE(said_, "");
    EXPECT_EQ(update(lanterns), cover);
    EXPECT_EQ(update("garbage"), cover);
    EXPECT_NE(said_, "") << "it worked in between";
}

TEST_F(CurrentCoverTest, ThrowsNothingWhereItCantBeWritten) {
    (void)keep({.artist = "Lowbeam", .album = "Paper Lanterns"}, 20);
    std::filesystem::create_directories(folder_.path() / "current-cover.png" / "in the way");
    testing::internal::CaptureStderr();
    appliance_.setReply(lanterns);
    EXPECT_FALSE(cover_.update(store_, cancelled_));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    appliance_.setReply("<CurrentSong/>");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(cover_.update(store_, cancelled_));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(CurrentCoverTest, NobodyWaitsForASilentAppliance) {
    tests::LoopbackServer silent([&](tests::Client& client, const std::string&) {
        cancelled_ = true;
        client.keepWaiting();
        return false;
    });
    store_.setParameter({"deviceUrl", silent.url("/")});
    store_.setParameter({"deviceTimeout", "60"});
    EXPECT_EQ(update(lanterns), "(none)");
    EXPECT_NE(said_.find("is not waited for"), std::string::npos) << said_;
}

} // namespace
