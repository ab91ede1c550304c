// SPDX-License-Identifier: MIT
#include "app/CoverFetch.h"

#include "app/OpenStore.h"
#include "image/ImageContent.h"
#include "net/Address.h"
#include "net/HttpClient.h"
#include "util/Exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace app {
namespace {

constexpr std::string_view storedScheme = "cover:";
constexpr std::uint64_t maxFetchSeconds = 3600; // one request blocks the next

bool isStored(const std::string& url) { return url.starts_with(storedScheme); }

util::Image storedImage(const std::string& hash, OpenStore* open, const image::ImageLimits& limits) {
    std::optional<util::Buffer> bytes;
    if (open != nullptr) bytes = open->store->image(hash);
    if (!bytes) throw util::Exception("The store has no such cover.");
    return image::ImageContent::decode(bytes->bytes(), limits, image::AcceptedTypes::All);
}

net::HttpSettings settings(Parameters& parameters, const image::ImageLimits& limits) {
    const bool deny = parameters.text("privateAddresses") == "deny";
    return {.totalTimeout =
                std::chrono::seconds(std::min(parameters.number("fetchTimeout"), maxFetchSeconds)),
            .maxBodyBytes = limits.maxBytes,
            .privateAddresses = deny ? net::PrivateAddresses::Deny : net::PrivateAddresses::Allow};
}

} // namespace

util::Image imageFrom(const std::string& url) {
    Parameters defaults;
    Parameters& parameters = openStore() == nullptr ? defaults : openStore()->parameters;
    const image::ImageLimits limits = parameters.imageLimits();
    if (isStored(url)) return storedImage(url.substr(storedScheme.size()), openStore(), limits);
    const net::HttpAnswer answer = net::HttpClient(settings(parameters, limits)).get(url);
    if (answer.status < 200 || answer.status > 299)
        throw util::Exception(fmt::format("The server answered with status {}.", answer.status));
    return image::ImageContent::decode(std::as_bytes(std::span(answer.body)), limits,
                                       image::AcceptedTypes::All);
}

std::string shown(const std::string& url) { return isStored(url) ? url : net::withoutSecrets(url); }

} // namespace app
