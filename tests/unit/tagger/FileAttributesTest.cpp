// SPDX-License-Identifier: MIT
#include "tagger/FileAttributes.h"

#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/jobs/Descriptors.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <string_view>

namespace {

using namespace std::string_literals;
using std::filesystem::path;

class FileAttributes : public testing::Test {
protected:
    void copy() const {
        tagger::copyAttributes(tests::openFile(original_).get(), tests::openFile(copy_).get());
    }

    static struct stat statusOf(const path& file) {
        struct stat status = {};
        EXPECT_EQ(::stat(file.c_str(), &status), 0);
        return status;
    }

    static void setAttribute(const path& file, const char* name, std::string_view value) {
        ASSERT_EQ(::setxattr(file.c_str(), name, value.data(), value.size(), 0), 0) << name;
    }

    static std::string attributeOf(const path& file, const char* name) {
        std::array<char, 65536> value{};
        const ssize_t size = ::getxattr(file.c_str(), name, value.data(), value.size());
        return size < 0 ? "(none)" : std::string(value.data(), static_cast<std::size_t>(size));
    }

    tests::TemporaryFolder folder_;
    path original_ = tests::newFile(folder_.path() / "original");
    path copy_ = tests::newFile(folder_.path() / "copy");
};

/** An access control list in the kernel's format. User 4711 may read and write. */
const std::string accessList = "\2\0\0\0"s                    // version
                               "\1\0\6\0\xFF\xFF\xFF\xFF"s    // owner: rw-
                               "\2\0\6\0\x67\x12\0\0"s        // user 4711: rw-
                               "\4\0\4\0\xFF\xFF\xFF\xFF"s    // group: r--
                               "\x10\0\6\0\xFF\xFF\xFF\xFF"s  // mask: rw-
                               "\x20\0\0\0\xFF\xFF\xFF\xFF"s; // others: ---

constexpr const char* access = "system.posix_acl_access";
constexpr const char* inherited = "system.posix_acl_default";

TEST_F(FileAttributes, TheModeIsKept) {
    for (const mode_t mode : {0644U, 0600U, 0666U, 0444U, 02755U, 04711U}) {
        ASSERT_EQ(::chmod(original_.c_str(), mode), 0);
        copy();
        EXPECT_EQ(statusOf(copy_).st_mode & 07777U, mode);
    }
}

TEST_F(FileAttributes, TheOwnerIsKeptAndWithItTheBitsThatANewOwnerLoses) {
    // Only root can give a file to another owner.
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(original_.c_str(), 4711, 4712), 0);
    }
    ASSERT_EQ(::chmod(original_.c_str(), 06755), 0);
    copy();
    EXPECT_EQ(statusOf(copy_).st_uid, statusOf(original_).st_uid);
    EXPECT_EQ(statusOf(copy_).st_gid, statusOf(original_).st_gid);
    EXPECT_EQ(statusOf(copy_).st_mode & 07777U, 06755U);
}

TEST_F(FileAttributes, AnOwnerThatCantBeKeptIsAFailure) {
    const util::FileDescriptor others = tests::openFile("/etc/passwd");
    const util::FileDescriptor mine = tests::openFile(copy_);
    if (::geteuid() == 0) {
        ASSERT_EQ(::fchown(mine.get(), 65534, 65534), 0);
    }
    const tests::OrdinaryUser user;
    try {
        tagger::copyAttributes(others.get(), mine.get());
        FAIL() << "nothing was said";
    } catch (const util::Exception& e) {
        EXPECT_STREQ(e.what(), "The song file's owner can't be kept: Operation not permitted.");
    }
}

TEST_F(FileAttributes, ExtendedAttributesAreThoseOfTheOriginalAndNoOthers) {
    const std::string bytes("\0\xFF<&>", 5);
    setAttribute(original_, "user.bytes", bytes);
    setAttribute(original_, "user.empty", "");
    setAttribute(original_, "user.long", std::string(2000, 'x'));
    setAttribute(original_, "user.changed", "new");
    setAttribute(copy_, "user.changed", "old");
    setAttribute(copy_, "user.other", "x");
    copy();
    EXPECT_EQ(attributeOf(copy_, "user.bytes"), bytes);
    EXPECT_EQ(attributeOf(copy_, "user.empty"), "");
    EXPECT_EQ(attributeOf(copy_, "user.long"), std::string(2000, 'x'));
    EXPECT_EQ(attributeOf(copy_, "user.changed"), "new");
    EXPECT_EQ(attributeOf(copy_, "user.other"), "(none)");
}

TEST_F(FileAttributes, AnAccessControlListIsKept) {
    setAttribute(original_, access, accessList);
    copy();
    EXPECT_EQ(attributeOf(copy_, access), accessList);
    EXPECT_EQ(statusOf(copy_).st_mode & 0777U, 0660U);
}

TEST_F(FileAttributes, WhatAFolderHandsDownToNewFilesIsTakenAwayAgain) {
    setAttribute(folder_.path(), inherited, accessList);
    copy_ = tests::newFile(folder_.path() / "born with a list");
    ASSERT_NE(attributeOf(copy_, access), "(none)");
    ASSERT_EQ(::chmod(original_.c_str(), 0640), 0);
    copy();
    EXPECT_EQ(attributeOf(copy_, access), "(none)");
    EXPECT_EQ(statusOf(copy_).st_mode & 0777U, 0640U);
}

} // namespace
