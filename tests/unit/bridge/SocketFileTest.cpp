// SPDX-License-Identifier: MIT
#include "bridge/SocketFile.h"

#include "tests/unit/TemporaryFolder.h"
#include "util/Exception.h"
#include "util/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using bridge::SocketFile;

/** A socket in the file, which stays behind. */
util::FileDescriptor bound(const std::string& path) {
    util::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, address.sun_path);
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return socket;
}

TEST(SocketFile, TakesTheSocketAwayInTheEnd) {
    const tests::TemporaryFolder folder;
    const std::string path = folder.path() / "s";
    {
        const SocketFile file(path);
        bound(path);
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(SocketFile, ReplacesASocketThatNobodyListensOn) {
    const tests::TemporaryFolder folder;
    const std::string path = folder.path() / "s";
    bound(path);
    const SocketFile file(path);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(SocketFile, LeavesASocketThatSomebodyListensOn) {
    const tests::TemporaryFolder folder;
    const std::string path = folder.path() / "s";
    const util::FileDescriptor socket = bound(path);
    ASSERT_EQ(::listen(socket.get(), 1), 0);
    EXPECT_THROW(const SocketFile file(path), util::Exception);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(SocketFile, LeavesOtherFiles) {
    const tests::TemporaryFolder folder;
    const std::string path = folder.path() / "s";
    std::ofstream(path) << "x";
    EXPECT_THROW(const SocketFile file(path), util::Exception);
    EXPECT_EQ(std::filesystem::file_size(path), 1U);
    const std::string link = folder.path() / "link";
    bound(folder.path() / "old");
    std::filesystem::create_symlink(folder.path() / "old", link);
    EXPECT_THROW(const SocketFile file(link), util::Exception);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

} // namespace
