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

/** The service asks for a pause, or is out of order for a while. */
class Busy : public util::Exception {
public:
    explicit Busy(const std::string& text, std::optional<std::chrono::seconds> retryAfter = std::nullopt)
        : util::Exception(text), retryAfter_(retryAfter) {}

    /** How long to wait, if the service said so. */
    [[nodiscard]] std::optional<std::chrono::seconds> retryAfter() const noexcept { return retryAfter_; }

private:
    std::optional<std::chrono::seconds> retryAfter_;
};

/** One request to a web service. */
struct Request {
    /** Placeholder in `url` for `secretSegment`. No name can contain it: braces are escaped in URLs. */
    static constexpr std::string_view secretMark = "{key}";

    std::string url;                  // without secrets and timestamps: the answer is kept under it
    std::string secretQuery;          // appended to the URL: "&api_key=..."
    std::vector<std::string> headers; // "Authorization: ..."
    std::string secretSegment;        // for a key in the path
};

/** The URL to fetch, including all secrets. */
[[nodiscard]] std::string fullUrl(const Request& request);

/** A web service. Immutable. */
class Service {
public:
    Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    virtual ~Service() = default;

    /** The name in the parameter `sources` and in the answers, in lower case. */
    [[nodiscard]] virtual std::string_view name() const noexcept = 0;

    /** How often it may be asked, by all processes together. */
    [[nodiscard]] virtual store::Pace pace() const noexcept = 0;

    /**
     * The candidates in the answer; empty if the service found nothing.
     * @throws Busy when the service asks for a pause
     * @throws util::Exception when the service failed or the answer has an unknown form
     */
    [[nodiscard]] virtual std::vector<matching::Candidate> parse(const net::HttpAnswer& answer) const = 0;
};

/** A service that finds albums. */
class Source : public Service {
public:
    /**
     * The requests to send, best first. Each one is sent only if those before it found nothing that fits.
     * Empty if the service can't search for such a song.
     */
    [[nodiscard]] virtual std::vector<Request> requests(const matching::Question& question) const = 0;
};

/**
 * A service with pictures of albums that other services found. Its candidates hold only the fields of the
 * picture.
 */
class PictureSource : public Service {
public:
    /** Nothing if the service can't know this album. */
    [[nodiscard]] virtual std::optional<Request> request(const matching::Candidate& album) const = 0;
};

/** Returns the value of a parameter, such as a key or a base URL. A base URL has no "/" at its end. */
using ParameterReader = std::function<std::string(std::string_view name)>;

// Each source, made from its parameters (docs/parameters.md); null if it needs a key that isn't set.
[[nodiscard]] std::unique_ptr<Source> musicBrainz(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> itunes(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> deezer(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> lastFm(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> audioDb(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> discogs(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<Source> amazon(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<PictureSource> coverArtArchive(const ParameterReader& parameter);
[[nodiscard]] std::unique_ptr<PictureSource> fanartTv(const ParameterReader& parameter);

/** A parameter's value as a key; empty if it contains characters that are unsafe in a header or a URL. */
[[nodiscard]] std::string usableKey(const ParameterReader& parameter, std::string_view name);

/**
 * @throws Busy for status 429 and from 500 on, because these pass
 * @throws util::Exception for any other status except 200
 */
void needSuccess(const net::HttpAnswer& answer);

} // namespace sources
