// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Failure.h"
#include "bridge/Mpd.h"

#include <mutex>
#include <optional>
#include <utility>

namespace bridge {

/**
 * The music server, for all who want something of it: there is one connection, made when it is needed, and
 * its users take turns. Thread-safe.
 */
class MusicServer {
public:
    explicit MusicServer(MpdAddress address) : address_(std::move(address)) {}

    /**
     * Calls `use` with a connection, which is nobody else's as long as it runs.
     * @return what `use` returns
     * @throws Failure when there is no connection to be had, or the others take too long
     */
    template <typename Use>
    auto with(Use use) {
        const std::unique_lock lock(mutex_, address_.timeout);
        if (!lock) throw Failure(ErrorCode::away, "The music server is busy.");
        return use(connection());
    }

private:
    [[nodiscard]] Mpd& connection();

    const MpdAddress address_;
    std::timed_mutex mutex_;
    std::optional<Mpd> connection_; // guarded by mutex_
};

} // namespace bridge
