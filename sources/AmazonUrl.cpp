// SPDX-License-Identifier: MIT
#include "sources/AmazonUrl.h"

#include "net/Url.h"
#include "util/Exception.h"

#include <fmt/chrono.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <array>
#include <map>

namespace sources {
namespace {

/** Sorted by name, bytewise: the signature needs this order. */
using Arguments = std::map<std::string, std::string>;

std::string queryOf(const Arguments& arguments) {
    std::string query;
    for (const auto& [name, value] : arguments)
        query += (query.empty() ? "" : "&") + name + '=' + net::urlEncoded(value);
    return query;
}

/** The lines for host and path in the signed text. The host is in lower case and without its port. */
std::string signedPlace(std::string_view url) {
    constexpr std::string_view schemeEnd = "://";
    if (const auto scheme = url.find(schemeEnd); scheme != std::string_view::npos)
        url.remove_prefix(scheme + schemeEnd.size());
    const std::string_view authority = url.substr(0, url.find('/'));
    std::string host(authority.substr(0, authority.rfind(':')));
    std::ranges::transform(host, host.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return host + '\n' + std::string(url.substr(authority.size()));
}

Arguments searchArguments(const AmazonAccess& access, const Names& names, int page) {
    Arguments arguments{{"Service", "AWSECommerceService"},
                        {"Operation", "ItemSearch"},
                        {"SearchIndex", "Music"},
                        {"Title", names.work},
                        {"ResponseGroup", "ItemAttributes,Images"},
                        {"ItemPage", std::to_string(std::clamp(page, 1, 10))},
                        {"Version", "2013-08-01"}};
    if (!names.artist.empty()) arguments["Artist"] = names.artist;
    if (!access.tag.empty()) arguments["AssociateTag"] = access.tag;
    return arguments;
}

} // namespace

std::optional<AmazonAccess> amazonAccess(const ParameterReader& parameter) {
    AmazonAccess access{.url = parameter("amazonUrl"),
                        .key = usableKey(parameter, "amazonKey"),
                        .secret = usableKey(parameter, "amazonSecret"),
                        .tag = usableKey(parameter, "amazonTag")};
    if (access.key.empty() || access.secret.empty()) return std::nullopt;
    return access;
}

Request amazonSearch(const AmazonAccess& access, const Names& names, int page,
                     std::chrono::system_clock::time_point now) {
    const std::string place = access.url + "/onca/xml";
    const Arguments open = searchArguments(access, names, page);
    const Arguments hidden{
        {"AWSAccessKeyId", access.key},
        {"Timestamp",
         fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(now)))}};
    Arguments all = open;
    all.insert(hidden.begin(), hidden.end());
    const std::string signature =
        amazonSignature(access.secret, "GET\n" + signedPlace(place) + '\n' + queryOf(all));
    return {.url = place + '?' + queryOf(open),
            .secretQuery = '&' + queryOf(hidden) + "&Signature=" + net::urlEncoded(signature)};
}

std::string amazonSignature(std::string_view secret, std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
             reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data(),
             &length) == nullptr)
        throw util::Exception("The question can't be signed.");
    std::array<unsigned char, (EVP_MAX_MD_SIZE + 2) / 3 * 4 + 1> base64{}; // including a NUL at the end
    const int size = EVP_EncodeBlock(base64.data(), digest.data(), static_cast<int>(length));
    return {reinterpret_cast<const char*>(base64.data()), static_cast<std::size_t>(size)};
}

} // namespace sources
