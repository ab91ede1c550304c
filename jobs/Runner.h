// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/TaggerProcess.h"
#include "store/CoverStore.h"
#include "util/FileDescriptor.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace jobs {

/** What the jobs depend on; read anew for each. */
struct Settings {
    std::filesystem::path musicFolder; // only files below it are touched; empty: none
    int maxPictureSidePixels = 1200;
    std::chrono::seconds retryPause{10}; // before a job is tried again for the first time; then it doubles
};

struct RunnerSetup {
    std::filesystem::path lockFile; // the same for all processes that share a store
    std::filesystem::path tagger;   // the program sleevery-tagger
    std::function<std::unique_ptr<store::CoverStore>()> openStore; // for the runner's own thread
    std::function<Settings(store::CoverStore&)> settings;
    /** Brings the picture of what is playing up to date; may wait for others, but not once `stopping`.
     * @return false when that failed */
    std::function<bool(store::CoverStore&, const std::atomic<bool>& stopping)> showCurrentCover;
    std::chrono::milliseconds coverPause{5000}; // after a failure, before it is tried again
};

/**
 * Carries out the jobs of a store, one after another, in a thread of its own, and what else has to wait. Of
 * all runners that share a store one works at a time. Those that are woken or made meanwhile wait for it, and
 * when its process dies one of them goes on. The store is open only while there is something to do.
 */
class Runner {
public:
    /** Begins with what is in the queue. @throws std::system_error when there can be no thread */
    explicit Runner(RunnerSetup setup);
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /** Gives the job in hand back at once. */
    ~Runner();

    /** There is something in the queue. From any thread. */
    void wake() noexcept;

    /** The picture of what is playing is to be brought up to date, once the jobs are done and the last
     * failure is a while ago. From any thread. */
    void showCurrentCover() noexcept;

private:
    using Pause = std::optional<std::chrono::milliseconds>; // nothing: until somebody wakes the runner

    void run() noexcept;
    void wait(Pause pause) const noexcept;
    void takeEvent() const noexcept;
    Pause work();
    Pause workOff(store::CoverStore& store);
    void carryOutAll(store::CoverStore& store, const util::FileDescriptor& lock);
    void tag(store::CoverStore& store, const store::Job& job, const Settings& settings,
             const util::FileDescriptor& lock);
    std::optional<TaggerProcess::Result> runTagger(const TaggerProcess::Order& order,
                                                   const util::FileDescriptor& lock);

    const RunnerSetup setup_;
    const util::FileDescriptor wakeEvent_;
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> coverWanted_ = false;
    std::chrono::steady_clock::time_point coverNotBefore_; // the thread's own
    std::thread thread_;
};

} // namespace jobs
