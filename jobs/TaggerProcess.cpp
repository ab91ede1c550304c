// SPDX-License-Identifier: MIT
#include "jobs/TaggerProcess.h"

#include "tagger/Protocol.h"
#include "util/Exception.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>
#include <vector>

namespace jobs {
namespace {

constexpr std::size_t maxReasonBytes = 1000;

[[noreturn]] void fail(int error) {
    throw util::Exception(fmt::format("The program that writes tags can't be started: {}.",
                                      std::generic_category().message(error)));
}

/** Which descriptors the process gets, and no other: this process has the web server's. */
class Descriptors {
public:
    Descriptors() { posix_spawn_file_actions_init(&actions_); }
    Descriptors(const Descriptors&) = delete;
    Descriptors& operator=(const Descriptors&) = delete;
    ~Descriptors() { posix_spawn_file_actions_destroy(&actions_); }

    void openNull(int as) { posix_spawn_file_actions_addopen(&actions_, as, "/dev/null", O_RDONLY, 0); }
    void pass(int descriptor, int as) { posix_spawn_file_actions_adddup2(&actions_, descriptor, as); }
    void closeFrom(int first) { posix_spawn_file_actions_addclosefrom_np(&actions_, first); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const noexcept { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/** No signal is blocked in the process, other than in the thread that starts it. */
class Attributes {
public:
    Attributes() {
        posix_spawnattr_init(&attributes_);
        sigset_t none{};
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }

    [[nodiscard]] const posix_spawnattr_t* get() const noexcept { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/** Memory is short, or a person or the system ends it; any other signal is its own doing, and would be again.
 */
bool isFromOutside(int signal) {
    return signal == SIGKILL || signal == SIGTERM || signal == SIGINT || signal == SIGHUP ||
           signal == SIGQUIT;
}

/** A copy of the descriptor that is none of those that the process is to have. */
util::FileDescriptor outOfTheWay(int descriptor) {
    util::FileDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, tagger::lockDescriptor + 1));
    if (!copy) fail(errno);
    return copy;
}

} // namespace

TaggerProcess::TaggerProcess(const std::filesystem::path& program, const Order& order,
                             const util::FileDescriptor& lock) {
    const util::FileDescriptor picture = outOfTheWay(order.picture.get());
    const util::FileDescriptor lockCopy = outOfTheWay(lock.get());
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail(errno);
    output_ = util::FileDescriptor(ends[0]);
    const util::FileDescriptor writeEnd(ends[1]);
    const util::FileDescriptor output = outOfTheWay(writeEnd.get());

    Descriptors descriptors;
    descriptors.openNull(STDIN_FILENO);
    descriptors.pass(output.get(), STDOUT_FILENO);
    descriptors.pass(picture.get(), tagger::pictureDescriptor);
    descriptors.pass(lockCopy.get(), tagger::lockDescriptor);
    descriptors.closeFrom(tagger::lockDescriptor + 1);

    std::vector<std::string> words{program.string(),
                                   order.song.string(),
                                   order.temporaryFile.string(),
                                   std::to_string(order.maxSidePixels),
                                   order.replace ? "1" : "0",
                                   std::to_string(::getpid())};
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const Attributes attributes;
    const int error = posix_spawn(&process_, program.c_str(), descriptors.get(), attributes.get(),
                                  arguments.data(), environ);
    if (error != 0) {
        process_ = -1;
        fail(error);
    }
}

TaggerProcess::~TaggerProcess() {
    if (process_ < 0) return;
    ::kill(process_, SIGKILL);
    while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

/** Takes what the process says. @return false when it has ended */
bool TaggerProcess::read() {
    std::array<char, maxReasonBytes> block{};
    const ssize_t count = ::read(output_.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) return false;
    said_.append(block.data(), std::min(static_cast<std::size_t>(count), maxReasonBytes - said_.size()));
    return true;
}

bool TaggerProcess::wait(int event) {
    std::array<pollfd, 2> descriptors{{{.fd = output_.get(), .events = POLLIN, .revents = 0},
                                       {.fd = event, .events = POLLIN, .revents = 0}}};
    while (true) {
        if (::poll(descriptors.data(), descriptors.size(), -1) < 0) {
            if (errno != EINTR) fail(errno);
            continue;
        }
        if (descriptors[0].revents != 0 && !read()) return true;
        if (descriptors[1].revents != 0) return false;
    }
}

TaggerProcess::Result TaggerProcess::result() {
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0) {
        if (errno != EINTR) fail(errno);
    }
    process_ = -1;
    if (WIFSIGNALED(status)) {
        return {isFromOutside(WTERMSIG(status)) ? Result::Kind::Later : Result::Kind::Failed,
                fmt::format("The program that writes tags could not cope with the song file (signal {}).",
                            WTERMSIG(status))};
    }
    switch (WEXITSTATUS(status)) {
    case tagger::Done:
        return {Result::Kind::Done, {}};
    case tagger::Later:
        return {Result::Kind::Later, said_};
    default:
        return {Result::Kind::Failed,
                said_.empty()
                    ? fmt::format("The program that writes tags ended with code {}.", WEXITSTATUS(status))
                    : said_};
    }
}

} // namespace jobs
