// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace tests {

inline util::FileDescriptor openFile(const std::filesystem::path& path, int flags = O_RDONLY) {
    util::FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file) throw std::runtime_error("can't open " + path.string());
    return file;
}

/** Makes an empty file. @return its path */
inline std::filesystem::path newFile(const std::filesystem::path& path) {
    openFile(path, O_WRONLY | O_CREAT | O_EXCL);
    return path;
}

/** While it lives, nothing is done with an administrator's rights. */
class OrdinaryUser {
public:
    OrdinaryUser() {
        constexpr uid_t nobody = 65534;
        if (administrator_ && ::seteuid(nobody) != 0) throw std::runtime_error("can't become nobody");
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (administrator_) static_cast<void>(::seteuid(0) == 0);
    }

private:
    bool administrator_ = ::geteuid() == 0;
};

/** While it lives, no file can be made longer than `bytes`. */
class ShortFiles {
public:
    explicit ShortFiles(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit less{.rlim_cur = bytes, .rlim_max = before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &less);
    }
    ShortFiles(const ShortFiles&) = delete;
    ShortFiles& operator=(const ShortFiles&) = delete;
    ~ShortFiles() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        (void)std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

} // namespace tests
