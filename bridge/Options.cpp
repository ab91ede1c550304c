// SPDX-License-Identifier: MIT
#include "bridge/Options.h"

#include "bridge/Numbers.h"
#include "util/Buffer.h"
#include "util/File.h"

#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <algorithm>
#include <optional>

namespace bridge {
namespace {

constexpr int maxTimeoutSeconds = 600;

/** The options as they were written. */
struct Written {
    std::string listen;
    std::string socket;
    std::vector<std::string> hosts;
    std::string mpd;
    std::string passwordFile;
    int timeoutSeconds = 5;
};

std::string withoutBrackets(const std::string& host) {
    const bool brackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return brackets ? host.substr(1, host.size() - 2) : host;
}

std::optional<int> portOf(const std::string& text, int least) {
    const std::optional<int> port = wholeNumber(text);
    return port && *port >= least && *port <= 65535 ? port : std::nullopt;
}

void readListen(const std::string& written, Options& options) {
    const std::size_t colon = written.rfind(':');
    const std::optional<int> port =
        colon == std::string::npos ? std::nullopt : portOf(written.substr(colon + 1), 0);
    const std::string host = written.substr(0, colon);
    const std::string address = withoutBrackets(host);
    in6_addr binary{};
    const int family =
        address == host ? AF_INET : AF_INET6; // brackets are for the latter, which has colons in it
    if (!port || ::inet_pton(family, address.c_str(), &binary) != 1)
        throw BadOptions("--listen wants an IP address and a port, as in 127.0.0.1:6680 or [::1]:6680.");
    options.address = address;
    options.port = *port;
}

void readSocket(const std::string& written, Options& options) {
    if (written.size() >= sizeof(sockaddr_un::sun_path))
        throw BadOptions(
            fmt::format("--socket wants a path of less than {} bytes.", sizeof(sockaddr_un::sun_path)));
    options.socket = written;
}

void readMpd(const std::string& written, MpdAddress& mpd) {
    mpd.host = written;
    if (written.starts_with('/') || written.starts_with('@')) return;
    const std::size_t colon = written.rfind(':');
    const std::optional<int> port =
        colon == std::string::npos ? std::nullopt : portOf(written.substr(colon + 1), 1);
    mpd.host = withoutBrackets(written.substr(0, colon));
    // What stands before an @ would be taken for a password, which other users could read here.
    if (!port || mpd.host.empty() || mpd.host.find('@') != std::string::npos)
        throw BadOptions("--mpd wants a host and a port, as in localhost:6600, or the path of a socket.");
    mpd.port = static_cast<unsigned>(*port);
}

std::string readPassword(const std::string& file) {
    constexpr std::size_t maxBytes = 1000;
    std::string password;
    try {
        const util::Buffer content = util::readFile(file.c_str(), maxBytes);
        password.assign(reinterpret_cast<const char*>(content.data()), content.size());
    } catch (const util::Exception& e) {
        throw BadOptions(fmt::format("The password file {} can't be used: {}", file, e.what()));
    }
    while (password.ends_with('\n') || password.ends_with('\r'))
        password.pop_back();
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    if (password.empty() || std::ranges::any_of(password, isControl))
        throw BadOptions(fmt::format("The password file {} has to hold one line, the password.", file));
    return password;
}

Options understood(const Written& written) {
    Options options;
    if (!written.listen.empty()) readListen(written.listen, options);
    if (!written.socket.empty()) readSocket(written.socket, options);
    if (!written.mpd.empty()) readMpd(written.mpd, options.mpd);
    if (!written.passwordFile.empty()) options.mpd.password = readPassword(written.passwordFile);
    options.mpd.timeout = std::chrono::seconds(written.timeoutSeconds);
    options.hosts = written.hosts;
    return options;
}

/** A value that isn't there is as good as a mistake. */
CLI::Validator notEmpty() {
    return {[](const std::string& value) { return value.empty() ? std::string("must not be empty") : ""; },
            ""};
}

} // namespace

Options readOptions(int count, const char* const* arguments) {
    CLI::App app("Answers XML commands over HTTP and has MPD, the music server, carry them out.",
                 "sleevery-bridge");
    app.set_help_flag("-h,--help", "Explains the options");
    Written written;
    auto* const listen =
        app.add_option("--listen", written.listen, "Where to listen; 127.0.0.1:6680 if not given")
            ->type_name("ADDRESS:PORT")
            ->check(notEmpty());
    app.add_option("--socket", written.socket,
                   "A Unix socket to listen on instead; only its owner may connect")
        ->type_name("PATH")
        ->check(notEmpty())
        ->excludes(listen);
    app.add_option("--host", written.hosts, "Another name by which the bridge may be called; repeatable")
        ->type_name("NAME")
        ->check(notEmpty())
        ->allow_extra_args(false);
    app.add_option("--mpd", written.mpd,
                   "Where MPD is, or the path of its socket; localhost:6600 if not given")
        ->type_name("HOST:PORT")
        ->check(notEmpty());
    app.add_option("--mpd-password-file", written.passwordFile, "A file with MPD's password")
        ->type_name("FILE")
        ->check(notEmpty());
    app.add_option("--mpd-timeout", written.timeoutSeconds, "How long MPD may take; 5 if not given")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, maxTimeoutSeconds));
    try {
        app.parse(count, arguments);
    } catch (const CLI::CallForHelp&) {
        throw HelpWanted(app.help());
    } catch (const CLI::ParseError& e) {
        throw BadOptions(e.what());
    }
    return understood(written);
}

} // namespace bridge
