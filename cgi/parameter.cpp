// SPDX-License-Identifier: MIT
#include "cgi/cgiHandler.h"
#include "cgi/frame.h"
#include "util/Log.h"

#include <cstddef>
#include <iostream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view deleteCommand = "cmdDelete";
constexpr std::size_t maxShownBytes = 1'048'576; // far more than the library accepts

/** Writes the line in one piece, so that the lines of two processes don't mix. */
void logCommand(std::string_view command, const cgicc::FormEntry& entry) {
    std::string line(command);
    line.append(util::printable(entry.getName(), maxShownBytes)).append(" => ");
    line.append(util::printable(entry.getValue(), maxShownBytes)).append("\n");
    std::cerr << line << std::flush;
}

void deleteParameters(const cgicc::Cgicc& cgi) {
    for (const cgicc::FormEntry& entry : cgi.getElements()) {
        if (entry.getName() != deleteCommand) continue;
        logCommand("Deleting Parameter: ", entry);
        cache.DeleteParameter(entry.getValue());
    }
}

void setParameters(const cgicc::Cgicc& cgi) {
    for (const cgicc::FormEntry& entry : cgi.getElements()) {
        if (entry.getName() == "xslt" || entry.getName() == deleteCommand) continue;
        logCommand("Setting Parameter: ", entry);
        cache.StoreParameter(entry.getName(), entry.getValue());
    }
}

} // namespace

int doService_Parameter(cgicc::Cgicc cgi, cgicc::FCgiIO& out) {
    if (frame::isPost(cgi)) {
        deleteParameters(cgi); // first, so that a parameter that is both deleted and set ends up set
        setParameters(cgi);
    }
    SendResponse(cgi, out, cache.ReadParameters());
    return 0;
}
