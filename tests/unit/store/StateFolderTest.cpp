// SPDX-License-Identifier: MIT
#include "store/StateFolder.h"
#include "tests/unit/TemporaryFolder.h"
#include "util/Exception.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>

namespace {

namespace fs = std::filesystem;

/** A variable of the environment with another value for a while. */
class Variable {
public:
    // NOLINTBEGIN(concurrency-mt-unsafe): the tests have one thread
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(old_ ? old_->c_str() : nullptr); }

private:
    void set(const char* value) const {
        if (value == nullptr)
            ::unsetenv(name_);
        else
            ::setenv(name_, value, 1);
    }
    // NOLINTEND(concurrency-mt-unsafe)

    const char* name_;
    std::optional<std::string> old_;
};

class StateFolderTest : public testing::Test {
protected:
    std::string below(const char* name) const { return (folder_.path() / name).string(); }

    tests::TemporaryFolder folder_;
    Variable state_{"STATE_DIRECTORY", nullptr};
    Variable xdg_{"XDG_STATE_HOME", nullptr};
};

TEST_F(StateFolderTest, IsTheServicesOwnAndForNobodyElse) {
    const Variable state("STATE_DIRECTORY", below("a/b/covers").c_str());
    EXPECT_EQ(store::stateFolder(), below("a/b/covers"));
    struct stat status = {};
    ASSERT_EQ(::stat(below("a/b/covers").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(StateFolderTest, TakesTheFirstOfSeveral) {
    const Variable state("STATE_DIRECTORY", (below("one") + ":" + below("two")).c_str());
    EXPECT_EQ(store::stateFolder(), below("one"));
}

TEST_F(StateFolderTest, LiesBelowXdgStateHome) {
    const Variable xdg("XDG_STATE_HOME", below("xdg").c_str());
    EXPECT_EQ(store::stateFolder(), below("xdg/sleevery"));
}

TEST_F(StateFolderTest, IgnoresARelativeXdgStateHome) {
    if (fs::exists("/var/lib/sleevery"))
        GTEST_SKIP() << "this machine runs the service: /var/lib/sleevery comes first";
    const Variable xdg("XDG_STATE_HOME", "relative");
    const Variable home("HOME", below("home").c_str());
    EXPECT_EQ(store::stateFolder(), below("home/.local/state/sleevery"));
}

TEST_F(StateFolderTest, SaysWhichFolderCantBeUsedAndWhy) {
    std::ofstream(below("file")) << "x";
    for (const char* name : {"file", "file/below"}) {
        const Variable state("STATE_DIRECTORY", below(name).c_str());
        try {
            (void)store::stateFolder();
            FAIL();
        } catch (util::Exception& e) {
            EXPECT_EQ(e.GetText(), "The state folder " + below(name) + " can't be used: Not a directory.");
        }
    }
}

} // namespace
