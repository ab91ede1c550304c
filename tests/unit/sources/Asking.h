// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Source.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tests {

using matching::Candidate;
using matching::Question;
using matching::ReleaseKind;
using matching::ReleaseStatus;

/** All parameters that sources read; `given` replaces some of them. */
inline sources::ParameterReader parameters(std::map<std::string, std::string, std::less<>> given = {}) {
    std::map<std::string, std::string, std::less<>> all{{"musicBrainzUrl", "https://mb.test"},
                                                        {"musicBrainzPause", "1000"},
                                                        {"coverArtArchiveUrl", "https://caa.test"},
                                                        {"itunesUrl", "https://itunes.test"},
                                                        {"deezerUrl", "https://deezer.test"},
                                                        {"lastFmUrl", "https://lastfm.test"},
                                                        {"lastFmKey", "k/1"},
                                                        {"audioDbUrl", "https://audiodb.test"},
                                                        {"audioDbKey", "k/2"},
                                                        {"discogsUrl", "https://discogs.test"},
                                                        {"discogsToken", "k3"},
                                                        {"fanartTvUrl", "https://fanart.test"},
                                                        {"fanartTvKey", "k4"},
                                                        {"amazonUrl", "http://webservices.amazon.com"},
                                                        {"amazonKey", "00000000000000000000"},
                                                        {"amazonSecret", "1234567890"},
                                                        {"amazonTag", "tag-20"}};
    for (auto& [name, value] : given)
        all[name] = value;
    return [all](std::string_view name) {
        const auto found = all.find(name);
        if (found == all.end()) ADD_FAILURE() << "there is no parameter " << name;
        return found == all.end() ? std::string() : found->second;
    };
}

inline net::HttpAnswer answer(std::string body, int status = 200) {
    return {.status = status, .contentType = {}, .body = std::move(body), .retryAfter = {}};
}

inline std::vector<std::string> urls(const sources::Source& source, const Question& question) {
    std::vector<std::string> urls;
    for (const sources::Request& request : source.requests(question))
        urls.push_back(request.url);
    return urls;
}

using Urls = std::vector<std::string>;

/** The error sentence for an answer: "" if parse() accepts it, "busy: ..." if it throws Busy. */
inline std::string complaint(const sources::Service& service, const net::HttpAnswer& answer) {
    try {
        (void)service.parse(answer);
        return {};
    } catch (const sources::Busy& busy) {
        return std::string("busy: ") + busy.what();
    } catch (const util::Exception& failure) {
        return failure.what();
    }
}

/** Checks that a service refuses errors and answers in unknown forms. All services share this rule. */
inline void expectRefusals(const sources::Service& service) {
    EXPECT_EQ(complaint(service, answer("", 503)), "busy: The service has too much to do.");
    EXPECT_EQ(complaint(service, answer("", 429)), "busy: The service has too much to do.");
    EXPECT_EQ(complaint(service, answer("", 400)), "The service doesn't understand the question.");
    EXPECT_EQ(complaint(service, answer("", 401)), "The service doesn't accept the key that is set for it.");
    EXPECT_EQ(complaint(service, answer("<html>", 500)), "busy: The service is out of order.");
    EXPECT_EQ(complaint(service, answer("<html>", 418)), "The service answers with the status 418.");
    for (const char* body :
         {"", "<html></html>", "<html>", "[]", "{}", "null", "7", "\"text\"", "{\"results\":",
          "{\"error\":{}}", "{\"data\":7,\"results\":{},\"album\":7,\"albums\":0,\"images\":\"\"}",
          "<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>", "<metadata/>", "<ItemSearchResponse/>"})
        EXPECT_NE(complaint(service, answer(body)), "") << body;
    for (const std::string opening : {"[", "{\"a\":", "<a>"}) {
        std::string deep;
        while (deep.size() < 1'000'000)
            deep += opening;
        EXPECT_NE(complaint(service, answer(deep)), "") << opening;
    }
    std::string large;
    large.resize(9'000'000, ' ');
    EXPECT_NE(complaint(service, answer(large)), "");
}

} // namespace tests
