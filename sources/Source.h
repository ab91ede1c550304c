// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Question.h"
#include "net/HttpClient.h"
#include "store/CoverStore.h"
#include "util/Exception.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sources {

/** A service that has to be left alone for a while, as it said. */
class Busy : public util::Exception {
public:
    explicit Busy(const std::string& text, std::optional<std::chrono::seconds> retryAfter = std::nullopt)
        : util::Exception(text), retryAfter_(retryAfter) {}

    /** For how long, where it said so. */
    [[nodiscard]] std::optional<std::chrono::seconds> retryAfter() const noexcept { return retryAfter_; }

private:
    std::optional<std::chrono::seconds> retryAfter_;
};

/** What is asked of a service over the web. */
struct Request {
    /** Stands in `url` for `secretSegment`. No name can bring it in, as braces are escaped in URLs. */
    static constexpr std::string_view secretMark = "{key}";

    std::string url;              // without what is secret or changes with time: the answer is kept under it
    std::string secretQuery = {}; // to be appended to the URL: "&api_key=..."
    std::vector<std::string> headers = {}; // "Authorization: ..."
    std::string secretSegment = {};        // where the key is a part of the path
};

/** The URL to be fetched, with all that is secret. */
[[nodiscard]] std::string fullUrl(const Request& request);

/** A web service. Immutable. */
class Service {
public:
    Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    virtual ~Service() = default;

    /** As the parameter `sources` and the documents name it: small letters. */
    [[nodiscard]] virtual std::string_view name() const noexcept = 0;

    /** How often it may be asked, by all processes together. */
    [[nodiscard]] virtual store::Pace pace() const noexcept = 0;

    /**
     * What the answer says; nothing where it says that there is nothing.
     * @throws Busy when the service wants to be left alone
     * @throws util::Exception when it failed, or this is not what it answers
     */
    [[nodiscard]] virtual std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const = 0;
};

/** A service that finds albums. */
class Source : public Service {
public:
    /** What to ask, the best first: each of them only when those before it found nothing that fits. None
     * where it can't be asked about such a song. */
    [[nodiscard]] virtual std::vector<Request> requests(const matching::Question& question) const = 0;
};

/** A service that knows pictures of albums that others found. Its candidates have nothing but what belongs to
 * the picture. */
class PictureSource : public Service {
public:
    /** Nothing where it can't know this album. */
    [[nodiscard]] virtual std::optional<Request> request(const matching::Candidate& album) const = 0;
};

/** Hands out the value of a parameter: a base URL without a "/" at its end, a key ... */
using ParameterReader = std::function<std::string(std::string_view name)>;

// One of each source, as its parameters say (docs/parameters.md); null where it needs a key that isn't set.
[[nodiscard]] std::unique_ptr<Source> musicBrainz(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> itunes(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> deezer(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> lastFm(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> audioDb(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> discogs(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> amazon(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<PictureSource> coverArtArchive(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<PictureSource> fanartTv(const ParameterReader& parameter);

/** A parameter's value as a key; empty where it has characters that could do harm in a header or a URL. */
[[nodiscard]] std::string usableKey(const ParameterReader& parameter, std::string_view name);

/** @throws Busy for status 429 and those from 500 on, which pass, util::Exception for all others but 200 */
void needSuccess(const net::HttpAnswer& answer);

} // namespace sources
