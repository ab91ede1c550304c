// SPDX-License-Identifier: MIT
#include "tagger/Tagger.h"

#include "tagger/Protocol.h"
#include "util/File.h"
#include "util/Numbers.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <exception>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>

namespace tagger {
namespace {

void limit(int resource, rlim_t most) {
    rlimit now{};
    if (getrlimit(static_cast<__rlimit_resource>(resource), &now) != 0) return;
    now.rlim_cur = std::min(now.rlim_cur, most);
    setrlimit(static_cast<__rlimit_resource>(resource), &now);
}

/**
 * Limits time and memory, because a hostile file could use up all of them. Lowers the priority, because
 * services come first.
 */
void setUp() {
    limit(RLIMIT_CPU, 600);
    limit(RLIMIT_CORE, 0);
#ifndef __SANITIZE_ADDRESS__ // AddressSanitizer reserves more than any machine has
    limit(RLIMIT_AS, rlim_t{2} * 1024 * 1024 * 1024);
#endif
    (void)std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit fails instead
    (void)setpriority(PRIO_PROCESS, 0, 10);
}

int number(const char* text) { return util::wholeNumber<int>(text).value_or(-1); }

int fail(std::string_view reason, int code) {
    std::cout << reason << std::flush;
    return code;
}

} // namespace

int runTagger(int count, char** arguments, const Fit& fit) {
    if (count != 6) {
        std::cerr << "sleevery-tagger is started by sleevery.fcgi\n";
        return Failed;
    }
    // End this process with the runner. The next line detects a runner that ended before this call.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != number(arguments[5])) return Failed;
    setUp();
    try {
        const std::string picturePath = "/proc/self/fd/" + std::to_string(pictureDescriptor);
        const util::Buffer picture =
            util::readFile(picturePath.c_str(), std::numeric_limits<std::size_t>::max());
        writeCover({.song = arguments[1],
                    .temporaryFile = arguments[2],
                    .picture = picture.bytes(),
                    .maxSidePixels = number(arguments[3]),
                    .replace = number(arguments[4]) != 0,
                    .fit = fit});
        return Done;
    } catch (const TryAgainLater& e) {
        return fail(e.what(), Later);
    } catch (const std::bad_alloc&) {
        return fail("There is not enough memory to write the cover.", Later);
    } catch (const std::exception& e) {
        return fail(e.what(), Failed);
    }
}

} // namespace tagger
