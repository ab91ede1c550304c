// SPDX-License-Identifier: MIT
#include "tests/unit/net/SilentResolver.h"

#include <dlfcn.h>
#include <netdb.h>

#include <condition_variable>
#include <mutex>
#include <string_view>

namespace {

std::mutex mutex;
std::condition_variable change;
bool silent = false; // guarded by `mutex`, like `asking`
int asking = 0;

int refuseLater() {
    std::unique_lock lock(mutex);
    ++asking;
    change.notify_all();
    change.wait(lock, [] { return !silent; });
    --asking;
    change.notify_all();
    return EAI_AGAIN;
}

} // namespace

extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** result) {
    if (host != nullptr && std::string_view(host) == tests::SilentResolver::name) return refuseLater();
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(host, service, hints, result);
}

tests::SilentResolver::SilentResolver() {
    const std::lock_guard lock(mutex);
    silent = true;
}

tests::SilentResolver::~SilentResolver() {
    std::unique_lock lock(mutex);
    silent = false;
    change.notify_all();
    change.wait(lock, [] { return asking == 0; });
}

void tests::SilentResolver::waitUntilAsked() {
    std::unique_lock lock(mutex);
    change.wait(lock, [] { return asking > 0; });
}
