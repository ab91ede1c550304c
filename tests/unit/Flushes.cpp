// SPDX-License-Identifier: MIT
#include "tests/unit/Flushes.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

std::atomic<int> tests::Flushes::count = 0;
std::atomic<bool> tests::Flushes::failed = false;

namespace {

int flush(long number, int file) {
    ++tests::Flushes::count;
    if (!tests::Flushes::failed) return static_cast<int>(syscall(number, file));
    errno = EIO;
    return -1;
}

} // namespace

extern "C" int fdatasync(int file) { return flush(SYS_fdatasync, file); }
extern "C" int fsync(int file) { return flush(SYS_fsync, file); }
