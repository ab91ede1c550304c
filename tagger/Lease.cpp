// SPDX-License-Identifier: MIT
#include "tagger/Lease.h"

#include "tagger/SongUpdate.h"

#include <fcntl.h>

#include <cerrno>
#include <csignal>

namespace tagger {
namespace {

[[noreturn]] void busy() { throw TryAgainLater("Another program is writing into the song file."); }

} // namespace

Lease::Lease(int file) : file_(file) {
    // The signal for a waiting writer: SIGURG, which is ignored by default. SIGIO, the usual one, would end
    // the process.
    held_ = ::fcntl(file_, F_SETSIG, SIGURG) == 0 && ::fcntl(file_, F_SETLEASE, F_RDLCK) == 0;
    if (!held_ && errno == EAGAIN) busy();
}

Lease::~Lease() {
    if (held_) ::fcntl(file_, F_SETLEASE, F_UNLCK);
}

void Lease::check() const {
    if (held_ && ::fcntl(file_, F_GETLEASE) != F_RDLCK) busy();
}

} // namespace tagger
