// SPDX-License-Identifier: MIT
#include "bridge/SocketFile.h"

#include "util/Exception.h"
#include "util/FileDescriptor.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <utility>

namespace bridge {
namespace {

/** Whether there is a socket that refuses connections, which its owner left behind when it was killed. */
bool isAbandoned(const std::string& path) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
    sockaddr_un address{};
    assert(path.size() < sizeof address.sun_path);
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, address.sun_path);
    const util::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    return socket && ::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 &&
           errno == ECONNREFUSED;
}

} // namespace

SocketFile::SocketFile(std::string path) : path_(std::move(path)) {
    struct stat status = {};
    if (::lstat(path_.c_str(), &status) != 0 && errno == ENOENT) return;
    if (!isAbandoned(path_) || ::unlink(path_.c_str()) != 0)
        throw util::Exception("There is another file in the place of the socket, or somebody listens on it.");
}

SocketFile::~SocketFile() { ::unlink(path_.c_str()); }

} // namespace bridge
