// SPDX-License-Identifier: MIT
#pragma once

#include "sources/KeptCandidates.h"
#include "sources/Source.h"
#include "tests/unit/net/LoopbackServer.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tests {

/** What FakeSource and FakePictures understand. */
inline std::string found(const std::vector<matching::Candidate>& candidates) {
    return httpAnswer(sources::toText(candidates));
}

inline std::string busy(std::string_view headers = "") {
    return httpAnswer("", "503 Service Unavailable", headers);
}

/** A web server that answers path by path, and nothing found to any path that it wasn't told of. */
class FakeWeb {
public:
    [[nodiscard]] std::string url(std::string_view path) const { return server_.url(path); }

    /** `answers` one after the other; the last one stays. */
    void answer(const std::string& path, std::vector<std::string> answers) {
        const std::lock_guard lock(mutex_);
        std::ranges::reverse(answers);
        answers_[path] = std::move(answers);
    }

    /** The paths that were asked for so far, in the order in which they came. */
    [[nodiscard]] std::vector<std::string> asked() {
        const std::lock_guard lock(mutex_);
        return asked_;
    }

    /** All of the last request. */
    [[nodiscard]] std::string lastHead() {
        const std::lock_guard lock(mutex_);
        return lastHead_;
    }

private:
    std::string next(const std::string& head) {
        const std::lock_guard lock(mutex_);
        const std::string path = pathOf(head);
        asked_.push_back(path);
        lastHead_ = head;
        const auto known = answers_.find(path);
        if (known == answers_.end()) return found({});
        std::string answer = known->second.back();
        if (known->second.size() > 1) known->second.pop_back();
        return answer;
    }

    std::mutex mutex_;
    std::map<std::string, std::vector<std::string>> answers_; // the next one last; guarded by mutex_
    std::vector<std::string> asked_;                          // guarded by mutex_
    std::string lastHead_;                                    // guarded by mutex_
    LoopbackServer server_{[this](Client& client, const std::string& head) {
        client.send(next(head));
        return false;
    }};
};

inline constexpr store::Pace quick{.interval = std::chrono::milliseconds(1), .burst = 100};

inline std::vector<matching::Candidate> parsed(const net::HttpAnswer& answer) {
    sources::needSuccess(answer);
    return sources::candidatesFrom(answer.body);
}

/** A source that asks what the test says. */
class FakeSource : public sources::Source {
public:
    using Ask = std::function<std::vector<sources::Request>(const matching::Question& question)>;

    FakeSource(std::string name, Ask ask, store::Pace pace = quick)
        : name_(std::move(name)), ask_(std::move(ask)), pace_(pace) {}

    [[nodiscard]] std::string_view name() const noexcept override { return name_; }
    [[nodiscard]] store::Pace pace() const noexcept override { return pace_; }
    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        return parsed(answer);
    }
    [[nodiscard]] std::vector<sources::Request> requests(const matching::Question& question) const override {
        return ask_(question);
    }

private:
    std::string name_;
    Ask ask_;
    store::Pace pace_;
};

/** A source of pictures, of albums that have a group. */
class FakePictures : public sources::PictureSource {
public:
    FakePictures(std::string name, std::string url) : name_(std::move(name)), url_(std::move(url)) {}

    [[nodiscard]] std::string_view name() const noexcept override { return name_; }
    [[nodiscard]] store::Pace pace() const noexcept override { return quick; }
    [[nodiscard]] std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const override {
        return parsed(answer);
    }
    [[nodiscard]] std::optional<sources::Request> request(const matching::Candidate& album) const override {
        if (album.groupId.empty()) return std::nullopt;
        return sources::Request{.url = url_ + '/' + album.groupId};
    }

private:
    std::string name_;
    std::string url_;
};

} // namespace tests
