// SPDX-License-Identifier: MIT
#pragma once

#include "app/Parameters.h"
#include "net/HttpClient.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

namespace app {

/**
 * A connection to the appliance's XML interface, which is kept for the next command. One thread at a time.
 */
class DeviceLink {
public:
    /** @param cancelled ends a command within a second once it is true; null: nothing does */
    explicit DeviceLink(const std::atomic<bool>* cancelled = nullptr) : cancelled_(cancelled) {}

    /**
     * Gives the appliance a command and waits for the whole reply (app/DeviceReply.h).
     * @throws util::Exception that says why there is none; the command is never given twice
     */
    [[nodiscard]] std::string send(Parameters& parameters, std::string_view command);

private:
    const std::atomic<bool>* cancelled_;
    net::HttpSettings settings_; // of the client
    std::unique_ptr<net::HttpClient> client_;
};

} // namespace app
