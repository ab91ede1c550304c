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

/** An answer in the form that FakeSource and FakePictures can parse. */
inline std::string found(const std::vector<matching::Candidate>& candidates) {
    return httpAnswer(sources::toText(candidates));
}

inline std::string busy(std::string_view headers = "") {
    return httpAnswer("", "503 Service Unavailable", headers);
}

/** A web server with set answers for some paths. For any other path it answers that nothing was found. */
class FakeWeb {
public:
    [[nodiscard]] std::string url(std::string_view path) const { return server_.url(path); }

    /** Sends `answers` one after the other, then the last one again and again. */
    void answer(const std::string& path, std::vector<std::string> answers) {
        const std::lock_guard lock(mutex_);
        std::ranges::reverse(answers);
        answers_[path] = std::move(answers);
    }

    /** The requested paths so far, in order of arrival. */
    [[nodiscard]] std::vector<std::string> asked() {
        const std::lock_guard lock(mutex_);
        return asked_;
    }

    /** Request line and headers of the last request. */
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
    std::map<std::string, std::vector<std::string>> answers_; // next one last; guarded by mutex_
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

/** A source with requests that the test chooses. */
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

/** A picture source for albums that have a group. */
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
