// SPDX-License-Identifier: MIT
#include "bridge/Guard.h"
#include "bridge/Log.h"
#include "bridge/Options.h"
#include "bridge/Server.h"
#include "xml/XmlSetUp.h"

#include <sys/resource.h>
#include <sys/select.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <thread>

namespace {

sigset_t endingSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/** Ends `server` at the next signal. */
void stopAtSignal(bridge::Server& server) {
    const sigset_t signals = endingSignals();
    int signal = 0;
    sigwait(&signals, &signal);
    server.stop();
}

/** libmpdclient waits with select(), which ends the program at a descriptor of FD_SETSIZE or more. */
void limitDescriptors() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur <= FD_SETSIZE) return;
    limit.rlim_cur = FD_SETSIZE;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void serve(const bridge::Options& options) {
    limitDescriptors();
    xml::setUpXmlLibraries(); // before there is a second thread
    // Threads inherit it, so that the signals wait for the one that asks for them.
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    bridge::Server server(options);
    if (options.socket.empty() && !bridge::isLoopback(options.address))
        bridge::logLine("warning: every machine that reaches this address can give commands");
    std::jthread ending;
    try {
        server.run([&] {
            ending = std::jthread([&server] { stopAtSignal(server); });
            bridge::logLine("listening on " + server.place());
        });
    } catch (...) {
        if (ending.joinable())
            pthread_kill(ending.native_handle(), SIGINT); // or it would be waited for in vain
        throw;
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): what is no std::exception may end the program
int main(int count, char** arguments) {
    try {
        serve(bridge::readOptions(count, arguments));
        return 0;
    } catch (const bridge::HelpWanted& e) {
        std::cout << e.what();
        return 0;
    } catch (const bridge::BadOptions& e) {
        bridge::logLine(e.what());
        return 2;
    } catch (const std::exception& e) {
        bridge::logLine(e.what());
        return 1;
    }
}
