// SPDX-License-Identifier: MIT
#include "net/HttpClient.h"

#include "net/Address.h"
#include "util/Exception.h"

#include <curl/curl.h>
#include <fmt/format.h>
#include <strings.h>
#include <sys/socket.h>

#include <csignal>
#include <exception>
#include <new>
#include <string_view>

namespace net {
namespace {

constexpr long maxRedirects = 5;
constexpr std::size_t maxHeaderBytes = std::size_t{256} * 1024; // of all answers on the way

/** One request on its way. libcurl's callbacks write here; what stops it is kept as an exception. */
struct Transfer {
    explicit Transfer(const HttpSettings& of) : settings(of) {}

    const HttpSettings& settings;
    std::string body;
    std::size_t headerBytes = 0;
    bool headersEnded = false; // by an empty line; libcurl takes a broken connection for an end, too
    bool refusedAddress = false;
    std::exception_ptr failure;
};

[[noreturn]] void refuseSize(const Transfer& transfer) {
    throw util::Exception(
        fmt::format("The server's answer is larger than {} bytes.", transfer.settings.maxBodyBytes));
}

/** Does `action` for libcurl. @return false when it throws; the exception is kept, then */
template <typename Action>
bool succeeds(Transfer& transfer, Action action) noexcept {
    try {
        action();
        return true;
    } catch (...) {
        transfer.failure = std::current_exception();
        return false;
    }
}

std::size_t takeBody(const char* data, std::size_t size, std::size_t count, void* context) noexcept {
    auto& transfer = *static_cast<Transfer*>(context);
    const std::string_view bytes(data, size * count);
    const bool taken = succeeds(transfer, [&] {
        if (bytes.size() > transfer.settings.maxBodyBytes - transfer.body.size()) refuseSize(transfer);
        transfer.body.append(bytes);
    });
    return taken ? bytes.size() : CURL_WRITEFUNC_ERROR;
}

std::size_t takeHeader(const char* data, std::size_t size, std::size_t count, void* context) noexcept {
    auto& transfer = *static_cast<Transfer*>(context);
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) transfer.headersEnded = false;
    if (line == "\r\n" || line == "\n") transfer.headersEnded = true;
    const bool taken = succeeds(transfer, [&] {
        transfer.headerBytes += line.size();
        if (transfer.headerBytes > maxHeaderBytes)
            throw util::Exception("The server's answer has too many headers.");
    });
    return taken ? line.size() : CURL_WRITEFUNC_ERROR;
}

/** The body of a redirect never reaches takeBody(), and is read all the same. */
int watchSize(void* context, curl_off_t /*announced*/, curl_off_t received, curl_off_t, curl_off_t) noexcept {
    auto& transfer = *static_cast<Transfer*>(context);
    const bool goOn = succeeds(transfer, [&] {
        if (static_cast<std::size_t>(received) > transfer.settings.maxBodyBytes) refuseSize(transfer);
    });
    return goOn ? 0 : 1;
}

/** The one place where an address is known for certain: a name can lead elsewhere between check and use. */
curl_socket_t openSocket(void* context, curlsocktype /*purpose*/, curl_sockaddr* address) noexcept {
    auto& transfer = *static_cast<Transfer*>(context);
    if (transfer.settings.privateAddresses == PrivateAddresses::Deny && !isPublic(address->addr)) {
        transfer.refusedAddress = true;
        return CURL_SOCKET_BAD;
    }
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

template <typename Value>
void set(CURL* handle, CURLoption option, Value value) {
    if (const CURLcode code = curl_easy_setopt(handle, option, value); code != CURLE_OK)
        throw util::Exception(
            fmt::format("The network library refuses a setting: {}.", curl_easy_strerror(code)));
}

void configure(CURL* handle, Transfer& transfer) {
    const HttpSettings& settings = transfer.settings;
    curl_easy_reset(handle);                          // of all but the connections
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https"); // redirects included
    set(handle, CURLOPT_FOLLOWLOCATION, 1L);
    set(handle, CURLOPT_MAXREDIRS, maxRedirects);
    set(handle, CURLOPT_PROXY,
        ""); // the environment's would see what is fetched, and hide whose address it is
    set(handle, CURLOPT_USERAGENT, "sleevery/" SLEEVERY_VERSION);
    set(handle, CURLOPT_NOSIGNAL, 1L);
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(settings.connectTimeout.count()));
    set(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(settings.totalTimeout.count()));
    set(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(settings.maxBodyBytes));
    set(handle, CURLOPT_OPENSOCKETFUNCTION, openSocket);
    set(handle, CURLOPT_OPENSOCKETDATA, &transfer);
    set(handle, CURLOPT_HEADERFUNCTION, takeHeader);
    set(handle, CURLOPT_HEADERDATA, &transfer);
    set(handle, CURLOPT_WRITEFUNCTION, takeBody);
    set(handle, CURLOPT_WRITEDATA, &transfer);
    set(handle, CURLOPT_NOPROGRESS, 0L);
    set(handle, CURLOPT_XFERINFOFUNCTION, watchSize);
    set(handle, CURLOPT_XFERINFODATA, &transfer);
}

constexpr const char* brokenOff = "The server broke the connection off.";

std::string sentence(CURLcode code, const Transfer& transfer) {
    switch (static_cast<int>(code)) {
    case CURLE_UNSUPPORTED_PROTOCOL:
        return "The address leads to something other than a web server.";
    case CURLE_URL_MALFORMAT:
        return "The address, or one that it is redirected to, is malformed.";
    case CURLE_COULDNT_RESOLVE_HOST:
        return "The server's name is unknown.";
    case CURLE_COULDNT_CONNECT:
        return transfer.refusedAddress
                   ? "The server has a private address, which the parameter privateAddresses denies."
                   : "The server can't be reached.";
    case CURLE_OPERATION_TIMEDOUT:
        return "The server did not answer in time.";
    case CURLE_TOO_MANY_REDIRECTS:
        return fmt::format("The server redirects more than {} times.", maxRedirects);
    case CURLE_PARTIAL_FILE:
        return "The server's answer is shorter than announced.";
    case CURLE_FILESIZE_EXCEEDED:
        return fmt::format("The server's answer is larger than {} bytes.", transfer.settings.maxBodyBytes);
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return brokenOff;
    case CURLE_PEER_FAILED_VERIFICATION:
        return "The server's certificate can't be trusted.";
    default:
        return fmt::format("The server can't be asked: {}.", curl_easy_strerror(code));
    }
}

HttpAnswer answerOf(CURL* handle, Transfer& transfer) {
    long status = 0;
    const char* contentType = nullptr; // libcurl's
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &contentType);
    return {.status = static_cast<int>(status),
            .contentType = contentType == nullptr ? "" : contentType,
            .body = std::move(transfer.body)};
}

/** libcurl would guess a scheme, and end the text at a NUL. */
void refuseOtherSchemes(const std::string& url) {
    const bool web =
        ::strncasecmp(url.c_str(), "http://", 7) == 0 || ::strncasecmp(url.c_str(), "https://", 8) == 0;
    if (!web) throw util::Exception("The address is neither http nor https.");
    if (url.find('\0') != std::string::npos) throw util::Exception("The address is malformed.");
}

/**
 * With the first client, not with the process: the tables of the TLS library take more than 2 MiB, and most
 * processes never fetch anything.
 */
void setUpOnce() {
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT); // thread-safe since libcurl 7.84
    if (code != CURLE_OK) throw util::Exception("The network library can't be set up.");
    // A TLS connection that the server has left would end the process at the next write.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

} // namespace

void HttpClient::HandleDeleter::operator()(void* handle) const noexcept { curl_easy_cleanup(handle); }

HttpClient::HttpClient(const HttpSettings& settings) : settings_(settings) {
    setUpOnce();
    handle_.reset(curl_easy_init());
    if (!handle_) throw std::bad_alloc();
}

HttpAnswer HttpClient::get(const std::string& url) {
    refuseOtherSchemes(url);
    Transfer transfer(settings_);
    configure(handle_.get(), transfer);
    set(handle_.get(), CURLOPT_URL, url.c_str());
    const CURLcode code = curl_easy_perform(handle_.get());
    if (transfer.failure) std::rethrow_exception(transfer.failure);
    if (code != CURLE_OK) throw util::Exception(sentence(code, transfer));
    if (!transfer.headersEnded) throw util::Exception(brokenOff);
    return answerOf(handle_.get(), transfer);
}

} // namespace net
