// SPDX-License-Identifier: MIT
#pragma once

#include "net/HttpFetches.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/** Time enough for whatever is to succeed. */
inline net::HttpFetches::Clock::time_point soon() {
    return net::HttpFetches::Clock::now() + std::chrono::seconds(30);
}

/** Fetches `urls` side by side; what became of each, in their order. */
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
