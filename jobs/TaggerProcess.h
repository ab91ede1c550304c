// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace jobs {

/** One run of sleevery-tagger, which does what SongUpdate says. It ends with this object. One thread. */
class TaggerProcess {
public:
    struct Order {
        std::filesystem::path song;
        std::filesystem::path temporaryFile;
        const util::FileDescriptor& picture; // a file with it as it was received
        int maxSidePixels = 1200;
        bool replace = true;
    };

    struct Result {
        enum class Kind { Done, Failed, Later };
        Kind kind = Kind::Done;
        std::string reason; // a sentence, unless it is done
    };

    /** @param lock is held by the process as well. @throws util::Exception when it can't be started */
    TaggerProcess(const std::filesystem::path& program, const Order& order, const util::FileDescriptor& lock);
    TaggerProcess(const TaggerProcess&) = delete;
    TaggerProcess& operator=(const TaggerProcess&) = delete;
    ~TaggerProcess();

    /** Waits until the process ends or the descriptor `event` becomes readable. @return true when it has
     * ended */
    bool wait(int event);

    /** What came of it, once it has ended. */
    Result result();

private:
    bool read();

    util::FileDescriptor output_;
    pid_t process_ = -1;
    std::string said_;
};

} // namespace jobs
