// SPDX-License-Identifier: MIT
#include "tagger/Lease.h"

#include "tagger/SongUpdate.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/jobs/Descriptors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>

namespace {

using tagger::Lease;
using tagger::TryAgainLater;

class LeaseTest : public testing::Test {
protected:
    /** Whether another program can open the file for writing at once. If not, that program begins to wait. */
    [[nodiscard]] bool canWriteAtOnce() const {
        const util::FileDescriptor writer(::open(path_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        EXPECT_TRUE(writer || errno == EWOULDBLOCK);
        return static_cast<bool>(writer);
    }

    tests::TemporaryFolder folder_;
    std::filesystem::path path_ = tests::newFile(folder_.path() / "song");
    util::FileDescriptor file_ = tests::openFile(path_);
};

TEST_F(LeaseTest, NobodyWritesIntoAFileThatNobodyElseHas) {
    const Lease lease(file_.get());
    EXPECT_NO_THROW(lease.check());
}

TEST_F(LeaseTest, SeesAWriterThatWasThereBefore) {
    std::optional<util::FileDescriptor> writer = tests::openFile(path_, O_RDWR);
    EXPECT_THROW(Lease(file_.get()), TryAgainLater);
    writer.reset();
    EXPECT_NO_THROW(Lease(file_.get()));
}

TEST_F(LeaseTest, SeesAWriterThatComesAndLetsItWait) {
    std::optional<Lease> lease(file_.get());
    EXPECT_FALSE(canWriteAtOnce());
    EXPECT_THROW(lease->check(), TryAgainLater);
    lease.reset();
    EXPECT_TRUE(canWriteAtOnce());
}

TEST_F(LeaseTest, ReadersComeAndGo) {
    const util::FileDescriptor before = tests::openFile(path_);
    const Lease lease(file_.get());
    const util::FileDescriptor after = tests::openFile(path_);
    EXPECT_NO_THROW(lease.check());
}

TEST_F(LeaseTest, IsNothingWhereThereAreNone) {
    const util::FileDescriptor kernels = tests::openFile("/proc/self/status");
    const Lease lease(kernels.get());
    EXPECT_NO_THROW(lease.check());
}

TEST_F(LeaseTest, IsNothingOnAnotherUsersFile) {
    const util::FileDescriptor others = tests::openFile("/etc/passwd");
    const tests::OrdinaryUser user;
    const Lease lease(others.get());
    EXPECT_NO_THROW(lease.check());
}

} // namespace
