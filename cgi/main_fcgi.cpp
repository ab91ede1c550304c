// SPDX-License-Identifier: MIT
#include "cgi/FCgiIO.h"
#include "cgi/cgiHandler.h"
#include "util/Exception.h"

#include <cgicc/Cgicc.h>

#include <exception>
#include <sstream>
#include <string>

namespace {

struct Service {
    const char* name;
    int (*handler)(cgicc::Cgicc cgi, cgicc::FCgiIO& out);
};

// clang-format off
constexpr Service services[] = {
    {"show", doService_Show},
    {"upload", doService_Upload},
    {"suggest", doService_Suggest},
    {"update", doService_Update},
    {"query", doService_Query},
    {"guessAlbum", doService_GuessAlbum},
    {"showEmpty", doService_ShowEmpty},
    {"tracks", doService_Tracks},
    {"parameter", doService_Parameter},
    {"writeTags", doService_WriteTags},
    {"quavionAPI", doService_QuavionAPI},
};
// clang-format on

void dispatch(const cgicc::Cgicc& cgi, cgicc::FCgiIO& fcgiIo) {
    const cgicc::CgiEnvironment& env = cgi.getEnvironment();
    std::string service = env.getScriptName();
    const int endOfPathIndex = static_cast<int>(service.rfind('/'));
    // Only a name below a folder is a service: /sleevery/show, but not /show.
    if (endOfPathIndex > 0) {
        service = service.substr(static_cast<std::size_t>(endOfPathIndex) + 1);
        for (const auto& [name, handler] : services) {
            if (service == name) {
                handler(cgi, fcgiIo);
                return;
            }
        }
    }
    doService_Root(fcgiIo);
}

void sendException(const cgicc::Cgicc& cgi, cgicc::FCgiIO& fcgiIo, const std::string& text) {
    std::stringstream xmlResult;
    xmlResult << "<Exception>\n" << text << "</Exception>\n";
    SendResponse(cgi, fcgiIo, xmlResult.str());
}

void answer(const cgicc::Cgicc& cgi, cgicc::FCgiIO& fcgiIo) {
    try {
        dispatch(cgi, fcgiIo);
    } catch (util::Exception& e) {
        sendException(cgi, fcgiIo, e.GetText());
    } catch (const std::exception& e) {
        sendException(cgi, fcgiIo, e.what());
    }
}

} // namespace

// An exception that answer() doesn't catch ends the process, and the program that started it starts a new
// one. Causes are a request that can't be parsed, an unusable store, or an exception of an unknown type.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int /*argc*/, const char** /*argv*/, char** /*envp*/) {
    FCGX_Request request;
    FCGX_Init();
    FCGX_InitRequest(&request, 0, 0);
    cache.CheckDatabase();
    while (FCGX_Accept_r(&request) == 0) {
        cgicc::FCgiIO fcgiIo(request);
        const cgicc::Cgicc cgi(&fcgiIo);
        answer(cgi, fcgiIo);
        FCGX_Finish_r(&request);
    }
    return 0;
}
