// SPDX-License-Identifier: MIT
#include "net/HttpTransfer.h"

#include "net/Address.h"

#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <limits>
#include <new>
#include <optional>
#include <string_view>

namespace net {
namespace {

constexpr long maxRedirects = 5;
constexpr std::size_t maxHeaderBytes = std::size_t{256} * 1024; // redirects included
constexpr int tooLarge = 100; // CURLE_TOO_LARGE since libcurl 8.6: too many or too long headers

/**
 * Called for the first handle instead of at process start: the TLS library's tables take more than 2 MiB, and
 * most processes never fetch anything.
 */
void setUpOnce() {
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT); // thread-safe since libcurl 7.84
    if (code != CURLE_OK) throw util::Exception("The network library can't be set up.");
    // Otherwise SIGPIPE ends the process when it writes to a TLS connection that the server has closed.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

/** Needed because libcurl guesses a missing scheme and cuts the URL at a NUL. */
void refuseOtherSchemes(const std::string& url) {
    const bool web =
        ::strncasecmp(url.c_str(), "http://", 7) == 0 || ::strncasecmp(url.c_str(), "https://", 8) == 0;
    if (!web) throw util::Exception("The address is neither http nor https.");
    if (url.find('\0') != std::string::npos) throw util::Exception("The address is malformed.");
}

/** Parses Retry-After, a number of seconds or a date. libcurl's own value is 0 for a missing header, too. */
std::optional<std::chrono::seconds> pause(const char* text) {
    const std::string_view digits(text);
    std::int64_t seconds = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size()) {
        const std::time_t date = curl_getdate(text, nullptr);
        if (date == -1) return std::nullopt;
        seconds = date - std::time(nullptr);
    } else if (error == std::errc::result_out_of_range) {
        seconds = std::numeric_limits<std::int64_t>::max();
    }
    return std::clamp(std::chrono::seconds(seconds), std::chrono::seconds(0), maxRetryAfter);
}

std::optional<std::chrono::seconds> retryAfter(CURL* handle) {
    constexpr int lastAnswer = -1;
    curl_header* header = nullptr; // owned by libcurl
    const CURLHcode code = curl_easy_header(handle, "Retry-After", 0, CURLH_HEADER, lastAnswer, &header);
    return code == CURLHE_OK ? pause(header->value) : std::nullopt;
}

} // namespace

CurlHandle newCurlHandle() {
    setUpOnce();
    CurlHandle handle(curl_easy_init(), &curl_easy_cleanup);
    if (!handle) throw std::bad_alloc();
    return handle;
}

HeaderList headerList(const std::vector<std::string>& headers) {
    HeaderList list(nullptr, &curl_slist_free_all);
    for (const std::string& header : headers) {
        if (std::any_of(header.begin(), header.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }))
            throw util::Exception("A header of the request is malformed.");
        curl_slist* longer = curl_slist_append(list.get(), header.c_str());
        if (longer == nullptr) throw std::bad_alloc();
        static_cast<void>(list.release()); // now owned by `longer`
        list.reset(longer);
    }
    return list;
}

std::string tooLate(const HttpSettings& settings) {
    return fmt::format("{} did not answer in time.", settings.peer);
}

HttpTransfer::HttpTransfer(CURL* handle, const HttpSettings& settings, const std::string& url)
    : handle_(handle), settings_(settings) {
    refuseOtherSchemes(url);
    configure();
    setOption(handle_, CURLOPT_URL, url.c_str());
}

void HttpTransfer::configure() {
    curl_easy_reset(handle_);                                // keeps the connections
    setOption(handle_, CURLOPT_PROTOCOLS_STR, "http,https"); // also for redirects
    setOption(handle_, CURLOPT_FOLLOWLOCATION, 1L);
    setOption(handle_, CURLOPT_MAXREDIRS, maxRedirects);
    // No proxy from the environment: it would see all requests and hide the server's address from the check.
    setOption(handle_, CURLOPT_PROXY, "");
    setOption(handle_, CURLOPT_USERAGENT, "sleevery/" SLEEVERY_VERSION " ( " SLEEVERY_HOME_PAGE " )");
    setOption(handle_, CURLOPT_NOSIGNAL, 1L);
    setOption(handle_, CURLOPT_QUICK_EXIT, 1L); // after a time-out, don't wait for the system's resolver
    setOption(handle_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(settings_.connectTimeout.count()));
    setOption(handle_, CURLOPT_TIMEOUT_MS, static_cast<long>(settings_.totalTimeout.count()));
    setOption(handle_, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(settings_.maxBodyBytes));
    setOption(handle_, CURLOPT_OPENSOCKETFUNCTION, &HttpTransfer::openSocket);
    setOption(handle_, CURLOPT_OPENSOCKETDATA, this);
    setOption(handle_, CURLOPT_HEADERFUNCTION, &HttpTransfer::takeHeader);
    setOption(handle_, CURLOPT_HEADERDATA, this);
    setOption(handle_, CURLOPT_WRITEFUNCTION, &HttpTransfer::takeBody);
    setOption(handle_, CURLOPT_WRITEDATA, this);
    setOption(handle_, CURLOPT_NOPROGRESS, 0L);
    setOption(handle_, CURLOPT_XFERINFOFUNCTION, &HttpTransfer::watch);
    setOption(handle_, CURLOPT_XFERINFODATA, this);
    if (!settings_.unixSocket.empty())
        setOption(handle_, CURLOPT_UNIX_SOCKET_PATH, settings_.unixSocket.c_str());
}

HttpAnswer HttpTransfer::answer(CURLcode code) {
    if (failure_) std::rethrow_exception(failure_);
    if (code != CURLE_OK) throw util::Exception(sentence(code));
    if (!headersEnded_) throw util::Exception(brokenOff());
    long status = 0;
    const char* contentType = nullptr; // owned by libcurl
    curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(handle_, CURLINFO_CONTENT_TYPE, &contentType);
    return {.status = static_cast<int>(status),
            .contentType = contentType == nullptr ? "" : contentType,
            .body = std::move(body_),
            .retryAfter = retryAfter(handle_)};
}

void HttpTransfer::refuseSize() const {
    throw util::Exception(
        fmt::format("{}'s answer is larger than {} bytes.", settings_.peer, settings_.maxBodyBytes));
}

std::string HttpTransfer::brokenOff() const {
    return fmt::format("{} broke the connection off.", settings_.peer);
}

std::string HttpTransfer::tooManyHeaders() const {
    return fmt::format("{}'s answer has too many headers.", settings_.peer);
}

std::string HttpTransfer::sentence(CURLcode code) const {
    const auto of = [this](std::string_view rest) { return fmt::format("{}{}", settings_.peer, rest); };
    switch (static_cast<int>(code)) {
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY: // not HTTP on a kept connection, or an invalid header
        return "The address leads to something other than a web server.";
    case CURLE_URL_MALFORMAT:
        return "The address, or one that it is redirected to, is malformed.";
    case CURLE_COULDNT_RESOLVE_HOST:
        return of("'s name is unknown.");
    case CURLE_COULDNT_CONNECT:
        return of(refusedAddress_ ? " has a private address, which the parameter privateAddresses denies."
                                  : " can't be reached.");
    case CURLE_OPERATION_TIMEDOUT:
        return tooLate(settings_);
    case CURLE_ABORTED_BY_CALLBACK:
        return of(" is not waited for any longer.");
    case CURLE_TOO_MANY_REDIRECTS:
        return of(fmt::format(" redirects more than {} times.", maxRedirects));
    case CURLE_PARTIAL_FILE:
        return of("'s answer is shorter than announced.");
    case CURLE_FILESIZE_EXCEEDED:
        return of(fmt::format("'s answer is larger than {} bytes.", settings_.maxBodyBytes));
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_SEND_FAIL_REWIND: // the connection was lost, and the body can't be sent again
        return brokenOff();
    case CURLE_BAD_CONTENT_ENCODING:
        return of("'s answer can't be unpacked.");
    case CURLE_PEER_FAILED_VERIFICATION:
        return of("'s certificate can't be trusted.");
    case tooLarge:
        return tooManyHeaders();
    default:
        return of(fmt::format(" can't be asked: {}.", curl_easy_strerror(code)));
    }
}

/** Runs `action` inside a libcurl callback. If it throws, keeps the exception and returns false. */
template <typename Action>
bool HttpTransfer::succeeds(Action action) noexcept {
    try {
        action();
        return true;
    } catch (...) {
        failure_ = std::current_exception();
        return false;
    }
}

/** Checks the size again: these bytes are decompressed and can be more than the announced length. */
std::size_t HttpTransfer::takeBody(const char* data, std::size_t size, std::size_t count,
                                   void* self) noexcept {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const std::string_view bytes(data, size * count);
    const bool taken = transfer.succeeds([&] {
        if (bytes.size() > transfer.settings_.maxBodyBytes - transfer.body_.size()) transfer.refuseSize();
        transfer.body_.append(bytes);
    });
    return taken ? bytes.size() : CURL_WRITEFUNC_ERROR;
}

std::size_t HttpTransfer::takeHeader(const char* data, std::size_t size, std::size_t count,
                                     void* self) noexcept {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) transfer.headersEnded_ = false;
    if (line == "\r\n" || line == "\n") transfer.headersEnded_ = true;
    const bool taken = transfer.succeeds([&] {
        transfer.headerBytes_ += line.size();
        if (transfer.headerBytes_ > maxHeaderBytes) throw util::Exception(transfer.tooManyHeaders());
    });
    return taken ? line.size() : CURL_WRITEFUNC_ERROR;
}

/** Limits the size of a redirect's body, too: libcurl reads that, but doesn't pass it to takeBody(). */
int HttpTransfer::watch(void* self, curl_off_t /*announced*/, curl_off_t received, curl_off_t /*toSend*/,
                        curl_off_t /*sent*/) noexcept {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    if (transfer.settings_.cancelled != nullptr && *transfer.settings_.cancelled) return 1;
    const bool goOn = transfer.succeeds([&] {
        if (static_cast<std::size_t>(received) > transfer.settings_.maxBodyBytes) transfer.refuseSize();
    });
    return goOn ? 0 : 1;
}

/** Checks the address where it is used: after an earlier check, the name could resolve to another one. */
curl_socket_t HttpTransfer::openSocket(void* self, curlsocktype /*purpose*/,
                                       curl_sockaddr* address) noexcept {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    if (transfer.settings_.privateAddresses == PrivateAddresses::Deny && !isPublic(address->addr)) {
        transfer.refusedAddress_ = true;
        return CURL_SOCKET_BAD;
    }
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

} // namespace net
