// SPDX-License-Identifier: MIT
#include "tags/Apart.h"

#include "util/Exception.h"
#include "util/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <fstream>
#include <string>
#include <string_view>

namespace tags {
namespace {

constexpr int crashed = 1;
constexpr int hasRefused = 2; // with a sentence

void limit(int resource, rlim_t value) noexcept {
    const rlimit limits{value, value};
    (void)::setrlimit(static_cast<__rlimit_resource_t>(resource), &limits);
}

/** AddressSanitizer reserves more than any limit allows. */
void limitMemory(std::size_t more) {
#ifndef __SANITIZE_ADDRESS__
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    limit(RLIMIT_AS, pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + more);
#else
    (void)more;
#endif
}

int childResult(const std::function<void()>& work, std::size_t memory, int answer) noexcept {
    try {
        limitMemory(memory);
        work();
        return 0;
    } catch (const util::Exception& exception) {
        const std::string_view sentence = exception.what();
        return ::write(answer, sentence.data(), sentence.size()) > 0 ? hasRefused : crashed;
    } catch (...) {
        return crashed;
    }
}

/** A child process, which doesn't outlive its owner. */
class Child {
public:
    explicit Child(pid_t id) noexcept : id_(id) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (id_ <= 0) return;
        (void)::kill(id_, SIGKILL);
        (void)result();
    }

    /** Waits for its end. */
    int result() noexcept {
        int status = -1;
        while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        id_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : crashed;
    }

private:
    pid_t id_;
};

/** What the child has written when it ends; throws when it doesn't in time. */
std::string answerOf(const util::FileDescriptor& pipe, std::chrono::seconds timeLimit) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + timeLimit;
    std::string answer;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) throw util::Exception("The song file takes too long to check.");
        pollfd waiting{pipe.get(), POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(left.count())) <= 0) continue;
        std::array<char, 1024> block{};
        const ssize_t count = ::read(pipe.get(), block.data(), block.size());
        if (count == 0) return answer;
        if (count > 0) answer.append(block.data(), static_cast<std::size_t>(count));
    }
}

} // namespace

void runApart(const std::function<void()>& work, std::chrono::seconds timeLimit, std::size_t memory) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw util::Exception("There are too many open files to check a song file.");
    const util::FileDescriptor reading(ends[0]);
    util::FileDescriptor writing(ends[1]);
    const pid_t id = ::fork();
    if (id < 0) throw util::Exception("There is no memory left to check a song file.");
    if (id == 0) {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        limit(RLIMIT_CORE, 0);
        ::_exit(childResult(work, memory, writing.get()));
    }
    Child child(id);
    writing = util::FileDescriptor();
    const std::string answer = answerOf(reading, timeLimit);
    const int result = child.result();
    if (result == hasRefused) throw util::Exception(answer);
    if (result != 0) throw util::Exception("The song file is damaged in a way that would make players fail.");
}

} // namespace tags
