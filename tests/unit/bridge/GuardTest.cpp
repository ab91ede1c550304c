// SPDX-License-Identifier: MIT
#include "bridge/Guard.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using bridge::Guard;
using Headers = std::vector<std::pair<std::string, std::string>>;

const Headers usual = {{"Host", "127.0.0.1:6680"}, {"Content-Type", "text/xml"}, {"Content-Length", "7"}};

/** The status of the objection to a POST with the usual headers and more; 0 when there is none. */
int statusFor(const Headers& more, const std::string& method = "POST",
              const Guard& guard = Guard({}, false)) {
    httplib::Request request;
    request.method = method;
    for (const auto& [name, value] : usual)
        request.headers.emplace(name, value);
    for (const auto& [name, value] : more)
        request.headers.emplace(name, value);
    const auto objection = guard.objectionTo(request);
    return objection ? objection->status : 0;
}

/** Likewise, with a header of the usual ones replaced. */
int statusWith(const std::string& name, const std::string& value, const Guard& guard = Guard({}, false)) {
    httplib::Request request;
    request.method = "POST";
    for (const auto& [usualName, usualValue] : usual)
        request.headers.emplace(usualName, usualName == name ? value : usualValue);
    const auto objection = guard.objectionTo(request);
    return objection ? objection->status : 0;
}

TEST(Guard, LetsCommandsOfProgramsThrough) {
    EXPECT_EQ(statusFor({}), 0);
    EXPECT_EQ(statusFor({{"Sec-Fetch-Site", "none"}}), 0);
    EXPECT_EQ(statusFor({{"Sec-Fetch-Site", "same-origin"}}), 0);
}

TEST(Guard, RefusesPagesOfOtherSites) {
    EXPECT_EQ(statusFor({{"Origin", "http://evil.example"}}), 403);
    EXPECT_EQ(statusFor({{"Origin", "null"}}), 403);
    EXPECT_EQ(statusFor({{"origin", ""}}), 403);
    EXPECT_EQ(statusFor({{"Sec-Fetch-Site", "cross-site"}}), 403);
    EXPECT_EQ(statusFor({{"Sec-Fetch-Site", "same-site"}}), 403);
    EXPECT_EQ(statusFor({{"Sec-Fetch-Site", "none"}, {"Sec-Fetch-Site", "cross-site"}}), 400);
    EXPECT_EQ(statusFor({{"Sec-Fetch-Site", "cross-site"}, {"Sec-Fetch-Site", "none"}}), 400);
}

TEST(Guard, RefusesEverythingButPost) {
    for (const char* method : {"GET", "HEAD", "OPTIONS", "PUT", "DELETE", "PATCH", "post"})
        EXPECT_EQ(statusFor({}, method), 405) << method;
}

TEST(Guard, WantsXml) {
    for (const char* type :
         {"text/xml", "application/xml", "TEXT/XML", "text/xml; charset=utf-8", "text/xml ;x"})
        EXPECT_EQ(statusWith("Content-Type", type), 0) << type;
    for (const char* type :
         {"", "text/plain", "application/x-www-form-urlencoded", "multipart/form-data; boundary=x",
          "text/xml2", "text/plain; text/xml", "image/svg+xml", "text /xml"})
        EXPECT_EQ(statusWith("Content-Type", type), 415) << type;
}

TEST(Guard, GoesByAddressesAndLocalhost) {
    for (const char* host : {"127.0.0.1", "127.0.0.1:6680", "192.168.1.9:80", "[::1]", "[::1]:6680",
                             "localhost", "LocalHost:6680"})
        EXPECT_EQ(statusWith("Host", host), 0) << host;
    for (const char* host :
         {"", "evil.example", "evil.example:6680", "localhost.evil.example", "127.0.0.1.evil.example",
          "127.0.0.1@evil.example", "evil.example:127.0.0.1", "[evil]", "[::1", "::1]", "1", "0x7f.1"})
        EXPECT_EQ(statusWith("Host", host), 403) << host;
    EXPECT_EQ(statusFor({{"Host", "localhost"}}), 400);
}

TEST(Guard, GoesByOtherNamesIfItIsTold) {
    const Guard guard({"Box.example"}, false);
    EXPECT_EQ(statusWith("Host", "box.Example:6680", guard), 0);
    EXPECT_EQ(statusWith("Host", "box", guard), 403);
}

TEST(Guard, GoesByAnyNameOnAUnixSocket) {
    EXPECT_EQ(statusWith("Host", "whatever", Guard({}, true)), 0);
    EXPECT_EQ(statusWith("Host", "", Guard({}, true)), 0);
    EXPECT_EQ(statusFor({{"Origin", "http://evil.example"}}, "POST", Guard({}, true)), 403);
}

TEST(Guard, RefusesWhatOthersWouldReadInAnotherWay) {
    EXPECT_EQ(statusFor({{"Content-Length", "7"}}), 400);
    EXPECT_EQ(statusFor({{"Transfer-Encoding", "chunked"}}), 400); // beside a Content-Length
    for (const char* length : {"", "-1", "+7", "7x", "7, 7", "0x7"})
        EXPECT_EQ(statusWith("Content-Length", length), 400) << length;
    httplib::Request request;
    request.method = "POST";
    request.headers = {{"Host", "localhost"}, {"Content-Type", "text/xml"}, {"Transfer-Encoding", "Chunked"}};
    EXPECT_FALSE(Guard({}, false).objectionTo(request));
    request.headers.erase("Transfer-Encoding");
    request.headers.emplace("Transfer-Encoding", "gzip, chunked");
    EXPECT_TRUE(Guard({}, false).objectionTo(request));
}

TEST(Loopback, IsWhatLeadsBack) {
    for (const char* address : {"127.0.0.1", "127.9.9.9", "::1"})
        EXPECT_TRUE(bridge::isLoopback(address)) << address;
    for (const char* address : {"0.0.0.0", "192.168.1.9", "::", "fe80::1", "localhost", ""})
        EXPECT_FALSE(bridge::isLoopback(address)) << address;
}

} // namespace
