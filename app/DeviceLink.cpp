// SPDX-License-Identifier: MIT
#include "app/DeviceLink.h"

#include "app/DeviceReply.h"
#include "app/DeviceUrl.h"
#include "util/Exception.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace app {
namespace {

constexpr std::uint64_t maxSeconds = 60; // one request blocks the next
constexpr std::uint64_t maxReplyBytes = 268'435'456;

std::chrono::seconds seconds(Parameters& parameters, std::string_view name) {
    return std::chrono::seconds(std::min(parameters.number(name), maxSeconds));
}

} // namespace

std::string DeviceLink::send(Parameters& parameters, std::string_view command) {
    const std::string url = parameters.text("deviceUrl");
    if (url.empty())
        throw util::Exception("The appliance's address is not known: the parameter deviceUrl has to be set.");
    const bool throughFile = url.starts_with(unixScheme);
    net::HttpSettings settings{.connectTimeout = seconds(parameters, "deviceConnectTimeout"),
                               .totalTimeout = seconds(parameters, "deviceTimeout"),
                               .maxBodyBytes =
                                   std::min(parameters.number("maxDeviceReplyBytes"), maxReplyBytes),
                               .peer = "The appliance",
                               .unixSocket = throughFile ? url.substr(unixScheme.size()) : std::string(),
                               .cancelled = cancelled_};
    if (!client_ || settings != settings_) {
        client_ = std::make_unique<net::HttpClient>(settings);
        settings_ = std::move(settings);
    }
    return deviceReply(client_->post(throughFile ? "http://localhost/" : url, "text/xml", command));
}

} // namespace app
