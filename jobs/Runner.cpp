// SPDX-License-Identifier: MIT
#include "jobs/Runner.h"

#include "tags/MusicFolder.h"
#include "util/Exception.h"
#include "util/File.h"
#include "util/Log.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <random>
#include <system_error>
#include <utility>

namespace jobs {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using store::Job;

constexpr int maxAttempts = 5;
constexpr milliseconds lockPause{500};       // until the runner that works is looked at again
constexpr milliseconds failurePause{5000};   // when the store itself fails; doubled each time
constexpr milliseconds longestPause{60'000}; // clocks are put right now and then

/** While it lives, new threads are made with all signals blocked. */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all{};
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

/** The lock of all runners of a store; none when another one has it. */
util::FileDescriptor tryLock(const fs::path& file) {
    util::FileDescriptor lock(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!lock) throw util::Exception("The lock file of the job queue can't be opened.");
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
    if (errno == EWOULDBLOCK) return util::FileDescriptor();
    throw util::Exception("The lock file of the job queue can't be locked.");
}

/** Beside the song file, under a name that nobody else has. */
fs::path temporaryFileFor(const fs::path& song) {
    std::random_device random;
    return song.parent_path() / fmt::format("{}{:08x}{:08x}", util::temporaryPrefix, random(), random());
}

void removeTemporaryFile(const fs::path& file) {
    std::error_code error;
    if (!file.empty()) fs::remove(file, error);
    if (error) util::logLine(fmt::format("{} is left behind: {}", file.string(), error.message()));
}

/** The entry's cover in a file in memory; none where there is no cover. */
util::FileDescriptor pictureFile(store::CoverStore& store, int entryId) {
    const std::optional<store::ImageInfo> cover = store.cover(entryId);
    const std::optional<util::Buffer> picture = cover ? store.image(cover->hash) : std::nullopt;
    if (!picture) return util::FileDescriptor();
    util::FileDescriptor file(::memfd_create("picture", MFD_CLOEXEC));
    for (std::size_t done = 0; done < picture->size();) {
        const ssize_t count = ::write(file.get(), picture->data() + done, picture->size() - done);
        if (count < 0 && errno != EINTR)
            throw util::Exception("There is not enough memory for the cover that is to be written.");
        if (count > 0) done += static_cast<std::size_t>(count);
    }
    return file;
}

/** With the lock held nobody can be at work on what runs: its process has died. */
void recover(store::CoverStore& store) {
    for (const Job& job : store.runningJobs()) {
        removeTemporaryFile(job.temporaryFile);
        store.putBackJob(job.id);
    }
}

void finish(store::CoverStore& store, const Job& job, const std::string& failure) {
    if (!failure.empty())
        util::logLine(
            fmt::format("job {} for entry {} failed: {} {}", job.id, job.entryId, failure, job.path));
    store.finishJob(job.id, failure);
}

void deleteCover(store::CoverStore& store, const Job& job) {
    if (store.tagJobFailedBefore(job)) {
        finish(store, job, "The cover is kept, because it could not be written into every song file.");
        return;
    }
    store.dropImage(job.entryId, job.imageHash); // not one that came in meanwhile
    finish(store, job, {});
}

void postpone(store::CoverStore& store, const Job& job, const std::string& reason,
              std::chrono::seconds pause) {
    if (job.attempts + 1 >= maxAttempts) {
        finish(store, job, reason);
        return;
    }
    const std::chrono::seconds longer = pause * (1 << job.attempts);
    store.postponeJob(job.id, reason,
                      store::Clock::now() +
                          std::min<std::chrono::seconds>(longer, store::CoverStore::maxPostponement));
}

/** Who ignores its children never learns what came of them, and a process may be started like that. */
void heedChildren() {
    struct sigaction action = {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        (void)std::signal(SIGCHLD, SIG_DFL);
}

} // namespace

Runner::Runner(RunnerSetup setup)
    : setup_(std::move(setup)), wakeEvent_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wakeEvent_) throw std::system_error(errno, std::generic_category());
    heedChildren();
    const SignalsBlocked blocked; // a signal to stop is to interrupt the thread that serves requests
    thread_ = std::thread([this] { run(); });
}

Runner::~Runner() {
    stopping_ = true;
    wake();
    thread_.join();
}

void Runner::wake() noexcept { ::eventfd_write(wakeEvent_.get(), 1); }

void Runner::showCurrentCover() noexcept {
    if (!coverWanted_.exchange(true)) wake(); // or the thread comes to it anyway
}

void Runner::run() noexcept {
    milliseconds nextFailurePause = failurePause;
    while (!stopping_) {
        Pause pause;
        try {
            pause = work();
            nextFailurePause = failurePause;
        } catch (const std::exception& e) {
            util::logLine(fmt::format("the job queue has to wait: {}", e.what()));
            pause = nextFailurePause;
            nextFailurePause = std::min(2 * nextFailurePause, longestPause);
        }
        wait(pause);
    }
}

void Runner::wait(Pause pause) const noexcept {
    if (stopping_) return;
    pollfd event{.fd = wakeEvent_.get(), .events = POLLIN, .revents = 0};
    ::poll(&event, 1, pause ? static_cast<int>(std::min(*pause, longestPause).count()) : -1);
    takeEvent();
}

void Runner::takeEvent() const noexcept {
    eventfd_t count = 0;
    ::eventfd_read(wakeEvent_.get(), &count);
}

/** @return how long there is nothing to do */
Runner::Pause Runner::work() {
    const std::unique_ptr<store::CoverStore> store = setup_.openStore();
    for (;;) {
        const Pause pause = workOff(*store);
        if (stopping_ || !coverWanted_) return pause;
        const auto left = std::chrono::ceil<milliseconds>(coverNotBefore_ - steady_clock::now());
        if (left > milliseconds(0)) return pause ? std::min(*pause, left) : left;
        coverWanted_ = false;
        if (!setup_.showCurrentCover(*store, stopping_))
            coverNotBefore_ = steady_clock::now() + setup_.coverPause;
    }
}

/** @return how long there is no job to do */
Runner::Pause Runner::workOff(store::CoverStore& store) {
    if (!store.nextJobDue()) return std::nullopt;
    {
        const util::FileDescriptor lock = tryLock(setup_.lockFile);
        if (!lock) return lockPause;
        recover(store);
        carryOutAll(store, lock);
    }
    const auto due = store.nextJobDue();
    if (!due) return std::nullopt;
    const auto left = std::chrono::ceil<milliseconds>(*due - store::Clock::now());
    return std::max(left, milliseconds(0));
}

void Runner::carryOutAll(store::CoverStore& store, const util::FileDescriptor& lock) {
    while (!stopping_) {
        const std::optional<Job> job = store.nextJob(store::Clock::now());
        if (!job) return;
        const Settings settings = setup_.settings(store);
        try {
            if (job->kind == store::JobKind::Delete)
                deleteCover(store, *job);
            else
                tag(store, *job, settings, lock);
        } catch (const util::Exception& e) { // such as a cover that can't be read: the others need not wait
            postpone(store, *job, e.what(), settings.retryPause);
        }
    }
}

void Runner::tag(store::CoverStore& store, const Job& job, const Settings& settings,
                 const util::FileDescriptor& lock) {
    fs::path song;
    try {
        song = tags::songIn(settings.musicFolder, job.path);
    } catch (const util::Exception& e) {
        finish(store, job, e.what());
        return;
    }
    const util::FileDescriptor picture = pictureFile(store, job.entryId);
    if (!picture) {
        finish(store, job, "There is no cover with this cache id.");
        return;
    }
    const fs::path temporaryFile = temporaryFileFor(song);
    // While somebody has the old file, its blocks are not given back, which takes as long as writing them
    // did: nobody has to wait for that.
    const util::FileDescriptor oldFile(::open(song.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    store.startJob(job.id, temporaryFile.native());
    const std::optional<TaggerProcess::Result> result =
        runTagger({.song = song,
                   .temporaryFile = temporaryFile,
                   .picture = picture,
                   .maxSidePixels = settings.maxPictureSidePixels,
                   .replace = job.replace},
                  lock);
    using Kind = TaggerProcess::Result::Kind;
    if (!result || result->kind != Kind::Done) removeTemporaryFile(temporaryFile); // it may have been killed
    if (!result)
        store.putBackJob(job.id);
    else if (result->kind == Kind::Later)
        postpone(store, job, result->reason, settings.retryPause);
    else
        finish(store, job, result->reason);
}

/** @return nothing when the runner has to stop before it is done */
std::optional<TaggerProcess::Result> Runner::runTagger(const TaggerProcess::Order& order,
                                                       const util::FileDescriptor& lock) {
    try {
        TaggerProcess tagger(setup_.tagger, order, lock);
        while (!tagger.wait(wakeEvent_.get())) {
            takeEvent();
            if (stopping_) return std::nullopt;
        }
        return tagger.result();
    } catch (const util::Exception& e) {
        return TaggerProcess::Result{TaggerProcess::Result::Kind::Later, e.what()};
    }
}

} // namespace jobs
