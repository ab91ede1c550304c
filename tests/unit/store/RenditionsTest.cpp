// SPDX-License-Identifier: MIT
#include "store/Renditions.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/TemporaryFolder.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using tests::bytesOf;

std::string png(char fill) {
    return std::string("\x89PNG\r\n\x1A\n", 8) + std::string(100, fill) +
           std::string("IEND\xAE\x42\x60\x82", 8);
}

class RenditionsTest : public testing::Test {
protected:
    fs::path file(const std::string& hash) const { return folder_.path() / "renditions" / (hash + ".png"); }

    void age(const std::string& hash, std::chrono::hours by) const {
        fs::last_write_time(file(hash), fs::file_time_type::clock::now() - by);
    }

    tests::TemporaryFolder folder_;
    store::Renditions renditions_{folder_.path() / "renditions"};
};

TEST_F(RenditionsTest, UseIsNotedSoThatTheLeastRecentlyUsedGoesFirst) {
    renditions_.keep("a", bytesOf(png('a')), 1000);
    renditions_.keep("b", bytesOf(png('b')), 1000);
    age("a", std::chrono::hours(2));
    age("b", std::chrono::hours(1));
    ASSERT_TRUE(renditions_.find("a"));
    renditions_.keep("c", bytesOf(png('c')), 250);
    EXPECT_TRUE(renditions_.find("a"));
    EXPECT_FALSE(renditions_.find("b"));
    EXPECT_TRUE(renditions_.find("c"));
}

TEST_F(RenditionsTest, WhatAKilledWriterLeftIsClearedAwayAndAWriterAtWorkIsNot) {
    renditions_.keep("a", bytesOf(png('a')), 1000);
    const fs::path stale = folder_.path() / "renditions" / ".sleevery-1";
    const fs::path fresh = folder_.path() / "renditions" / ".sleevery-2";
    std::ofstream(stale) << "half";
    std::ofstream(fresh) << "half";
    fs::last_write_time(stale, fs::file_time_type::clock::now() - std::chrono::hours(1));
    renditions_.keep("b", bytesOf(png('b')), 1000);
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_TRUE(fs::exists(fresh));
}

TEST_F(RenditionsTest, AFolderThatCantBeWrittenIsAFailureWithItsReason) {
    std::ofstream(folder_.path() / "renditions") << "a file where the folder should be";
    try {
        renditions_.keep("a", bytesOf(png('a')), 1000);
        FAIL();
    } catch (util::Exception& e) {
        EXPECT_EQ(e.GetText(), "The file can't be created: Not a directory.");
    }
    EXPECT_FALSE(renditions_.find("a"));
}

} // namespace
