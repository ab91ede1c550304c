// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace bridge {

/** The file of a Unix socket that is about to be listened on. It goes with the object. */
class SocketFile {
public:
    /**
     * Makes room: a socket that nobody listens on any more goes.
     * @throws util::Exception when there is another file, or somebody listens
     */
    explicit SocketFile(std::string path);
    SocketFile(const SocketFile&) = delete;
    SocketFile& operator=(const SocketFile&) = delete;
    ~SocketFile();

private:
    std::string path_;
};

} // namespace bridge
