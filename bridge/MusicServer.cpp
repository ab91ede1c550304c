// SPDX-License-Identifier: MIT
#include "bridge/MusicServer.h"

namespace bridge {

Mpd& MusicServer::connection() {
    if (connection_ && connection_->usable()) return *connection_;
    connection_.reset();
    return connection_.emplace(address_);
}

} // namespace bridge
