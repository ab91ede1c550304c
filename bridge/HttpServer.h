// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Connection.h"

#include <httplib.h>

namespace bridge {

/** The HTTP library's server over this program's connections. */
class HttpServer final : public httplib::Server {
public:
    HttpServer();

    /** Instead of stop(), as which it may be called: what is idle is closed at once. */
    void end();

private:
    bool process_and_close_socket(socket_t socket) override;

    Traffic traffic_;
};

} // namespace bridge
