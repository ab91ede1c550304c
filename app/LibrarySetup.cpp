// SPDX-License-Identifier: MIT
#include "app/LibrarySetup.h"

#include "app/OpenStore.h"
#include "app/Parameters.h"
#include "util/Log.h"
#include "util/XMLParser.h"

#include <fmt/format.h>
#include <malloc.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace app {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> stylesheetFolders(const fs::path& stateFolder) {
    std::vector<fs::path> folders;
    if (openStore() != nullptr)
        if (const fs::path own = openStore()->parameters.text("stylesheetFolder"); own.is_absolute())
            folders.push_back(own);
    folders.push_back(stateFolder / "xslt");
    folders.emplace_back(SLEEVERY_STYLESHEETS);
    return folders;
}

// The runtime would write two lines and leave a core file for what is no more than a form that can't be
// parsed or a disk that is full at the start: one readable line and an exit code are what an operator can
// use.
[[noreturn]] void sayWhyAndExit() noexcept {
    try {
        if (const std::exception_ptr current = std::current_exception()) std::rethrow_exception(current);
        util::logLine("ended: terminate was called without an exception");
    } catch (const std::exception& e) {
        util::logLine(fmt::format("ended: {}", e.what()));
    } catch (...) {
        util::logLine("ended: an exception of unknown type");
    }
    std::_Exit(EXIT_FAILURE);
}

} // namespace

void setUpLastWords() noexcept { std::set_terminate(sayWhyAndExit); }

void setUpMemory() noexcept {
    constexpr int mebibyte = 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, 32 * mebibyte); // NOLINT(concurrency-mt-unsafe): there is one thread as yet
    mallopt(M_TRIM_THRESHOLD, 5 * mebibyte);  // NOLINT(concurrency-mt-unsafe)
    mallopt(M_ARENA_MAX, 1); // NOLINT(concurrency-mt-unsafe): the second thread would keep as much once more
}

void setUpXml(const fs::path& stateFolder) {
    util::XMLParser::setUp([stateFolder] { return stylesheetFolders(stateFolder); });
}

} // namespace app
