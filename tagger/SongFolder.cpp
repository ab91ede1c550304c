// SPDX-License-Identifier: MIT
#include "tagger/SongFolder.h"

#include "util/Exception.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tagger {
namespace {

[[noreturn]] void fail(std::string_view what) {
    throw util::Exception(fmt::format("The folder of the song file can't be {}: {}.", what,
                                      std::generic_category().message(errno)));
}

} // namespace

SongFolder::SongFolder(const std::filesystem::path& folder)
    : folder_(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder_) fail("opened");
    for (const std::filesystem::path& part : folder.relative_path()) {
        folder_ = util::FileDescriptor(
            ::openat(folder_.get(), part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!folder_) fail("opened");
    }
    // A descriptor with O_PATH can't be flushed, so open the folder for reading.
    folder_ = util::FileDescriptor(::openat(folder_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder_) fail("opened");
}

std::filesystem::path SongFolder::file(const std::filesystem::path& name) const {
    return std::filesystem::path(fmt::format("/proc/self/fd/{}", folder_.get())) / name;
}

void SongFolder::flush() const {
    // Some network file systems can't flush folders and return EINVAL.
    if (::fsync(folder_.get()) != 0 && errno != EINVAL) fail("flushed");
}

} // namespace tagger
