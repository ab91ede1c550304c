// SPDX-License-Identifier: MIT
#include "app/Quavion.h"

#include "app/CoverCache.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/Waiting.h"
#include "tests/unit/app/Appliance.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using tests::always;
using tests::Client;
using tests::httpAnswer;
using tests::LoopbackServer;

class QuavionTest : public testing::Test {
protected:
    QuavionTest() {
        ::setenv("STATE_DIRECTORY", folder_.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        cache_.CheckDatabase();
    }

    void use(const std::string& url) { cache_.StoreParameter("deviceUrl", url); }

    static std::string send(const std::string& command = "<Next/>") {
        return Quavion::Instance()->Send(command);
    }

    static std::string failure() {
        try {
            (void)send();
            return "";
        } catch (const util::Exception& e) {
            return e.GetText();
        }
    }

    tests::TemporaryFolder folder_;
    CoverCache cache_;
};

TEST_F(QuavionTest, SaysWhichParameterIsMissing) {
    EXPECT_EQ(failure(), "The appliance's address is not known: the parameter deviceUrl has to be set.");
}

TEST_F(QuavionTest, GivesTheCommandAsItIsAndTheReplyWithoutDeclaration) {
    tests::Appliance appliance("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerState/>\n");
    use(appliance.url());
    const std::vector<std::string> commands{" <GetPlayerState />", "", "no <xml",
                                            std::string("\xFF\0\r\n", 4)};
    for (const std::string& command : commands)
        EXPECT_EQ(send(command), "<PlayerState/>\n");
    EXPECT_EQ(appliance.commands(), commands);
}

TEST_F(QuavionTest, KeepsItsConnection) {
    tests::Appliance appliance;
    use(appliance.url());
    for (int round = 0; round < 5; ++round)
        EXPECT_EQ(failure(), "");
    EXPECT_EQ(appliance.connections(), 1U);
}

TEST_F(QuavionTest, FollowsTheParameter) {
    tests::Appliance first("<One/>");
    tests::Appliance second("<Two/>");
    use(first.url());
    EXPECT_EQ(send(), "<One/>");
    use(second.url());
    EXPECT_EQ(send(), "<Two/>");
    cache_.DeleteParameter("deviceUrl");
    EXPECT_NE(failure(), "");
}

TEST_F(QuavionTest, WorksAfterEveryFailure) {
    cache_.StoreParameter("deviceTimeout", "1");
    cache_.StoreParameter("maxDeviceReplyBytes", "100");
    LoopbackServer silent([](Client& client, const std::string&) {
        client.keepWaiting();
        return false;
    });
    LoopbackServer halfWay(always("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<Player"));
    LoopbackServer broken(always(""));
    LoopbackServer large(always(httpAnswer(std::string(101, 'x'))));
    LoopbackServer moved(always(tests::httpRedirect("/elsewhere")));
    LoopbackServer failing(always(httpAnswer("<Error code=\"-6\">No.</Error>", "503 Oops")));
    const tests::LoopbackSocket deaf;
    tests::Appliance appliance;
    for (const auto& [url, sentence] :
         {std::pair{silent.url("/"), "The appliance did not answer in time."},
          std::pair{halfWay.url("/"), "The appliance's answer is shorter than announced."},
          std::pair{broken.url("/"), "The appliance broke the connection off."},
          std::pair{large.url("/"), "The appliance's answer is larger than 100 bytes."},
          std::pair{moved.url("/"), "The appliance answered with status 302."},
          std::pair{deaf.url("/"), "The appliance can't be reached."},
          std::pair{std::string("unix:/there/is/no/socket"), "The appliance can't be reached."},
          std::pair{std::string("http://appliance.invalid/"), "The appliance's name is unknown."},
          std::pair{failing.url("/"), "The appliance answered with status 503: No."}}) {
        use(url);
        EXPECT_EQ(failure(), sentence);
        use(appliance.url());
        EXPECT_EQ(failure(), "");
    }
}

TEST_F(QuavionTest, CommandsAreNoRedirects) {
    tests::Appliance goal;
    LoopbackServer moved(always(tests::httpRedirect(goal.url())));
    use(moved.url("/"));
    EXPECT_EQ(failure(), "The appliance answered with status 302.");
    EXPECT_EQ(goal.commands().size(), 0U);
}

TEST_F(QuavionTest, IsNotAskedAtAnAddressThatIsNone) {
    testing::internal::CaptureStderr();
    for (const char* url : {"ftp://appliance.test/", "unix:relative.sock", "unix:", "appliance", "http://"}) {
        use(url);
        EXPECT_NE(failure().find("deviceUrl"), std::string::npos) << url;
    }
    EXPECT_NE(testing::internal::GetCapturedStderr().find("deviceUrl"), std::string::npos);
}

} // namespace
