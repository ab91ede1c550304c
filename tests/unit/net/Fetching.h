// SPDX-License-Identifier: MIT
#pragma once

#include "net/HttpFetches.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/** A deadline that is late enough for requests that are expected to succeed. */
inline net::HttpFetches::Clock::time_point soon() {
    return net::HttpFetches::Clock::now() + std::chrono::seconds(30);
}

/** Fetches `urls` in parallel. Returns the outcomes in the order of `urls`. */
inline std::vector<net::HttpOutcome> fetchAll(net::HttpFetches& fetches, const std::vector<std::string>& urls,
                                              net::HttpFetches::Clock::time_point deadline = soon()) {
    std::vector<net::HttpOutcome> outcomes(urls.size());
    std::size_t done = 0;
    for (std::size_t i = 0; i < urls.size(); ++i)
        fetches.start({.url = urls[i]}, net::HttpFetches::Clock::now(), [&, i](net::HttpOutcome outcome) {
            outcomes[i] = std::move(outcome);
            ++done;
        });
    fetches.run(deadline);
    EXPECT_EQ(done, urls.size());
    return outcomes;
}

inline net::HttpOutcome fetch(net::HttpRequest request, const net::HttpSettings& settings = {},
                              net::HttpFetches::Clock::time_point deadline = soon()) {
    net::HttpFetches fetches(settings);
    net::HttpOutcome result;
    fetches.start(std::move(request), net::HttpFetches::Clock::now(),
                  [&](net::HttpOutcome outcome) { result = std::move(outcome); });
    fetches.run(deadline);
    return result;
}

inline std::string failure(const std::string& url, const net::HttpSettings& settings = {},
                           net::HttpFetches::Clock::time_point deadline = soon()) {
    return fetch({.url = url}, settings, deadline).failure;
}

} // namespace tests
