// SPDX-License-Identifier: MIT
#include "net/Url.h"

#include <gtest/gtest.h>

namespace {

TEST(UrlEncoded, LeavesUnreservedCharactersAlone) {
    const std::string unreserved = "ABCXYZabcxyz0189-._~";
    EXPECT_EQ(net::urlEncoded(unreserved), unreserved);
    EXPECT_EQ(net::urlEncoded(""), "");
}

TEST(UrlEncoded, WritesTheRestAsPercentAndTwoCapitalDigits) {
    EXPECT_EQ(net::urlEncoded(" +&=?#/%:"), "%20%2B%26%3D%3F%23%2F%25%3A");
    EXPECT_EQ(net::urlEncoded("\"'()*!\\"), "%22%27%28%29%2A%21%5C");
    EXPECT_EQ(net::urlEncoded("Bj\xC3\xB6rk"), "Bj%C3%B6rk");
}

TEST(UrlEncoded, TakesEveryByte) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    const std::string encoded = net::urlEncoded(bytes);
    EXPECT_EQ(encoded.size(), 66U + 190U * 3U);
    EXPECT_TRUE(encoded.starts_with("%00%01"));
    EXPECT_TRUE(encoded.ends_with("%FE%FF"));
    EXPECT_EQ(
        encoded.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-._~%"),
        std::string::npos);
}

} // namespace
