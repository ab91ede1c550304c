// SPDX-License-Identifier: MIT
// Logs the request loop's calls to the FastCGI library, so that the log shows them between the calls to the
// cover library. The linker option --wrap redirects the calls to this file; the real functions still run.
#include "tests/cgi/standin/Recorder.h"

#include <fcgiapp.h>

using standin::record;

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): --wrap requires these names
extern "C" {

int __real_FCGX_Init();
int __real_FCGX_InitRequest(FCGX_Request* request, int socket, int flags);
int __real_FCGX_Accept_r(FCGX_Request* request);
void __real_FCGX_Finish_r(FCGX_Request* request);

int __wrap_FCGX_Init();
int __wrap_FCGX_InitRequest(FCGX_Request* request, int socket, int flags);
int __wrap_FCGX_Accept_r(FCGX_Request* request);
void __wrap_FCGX_Finish_r(FCGX_Request* request);

int __wrap_FCGX_Init() {
    record("FCGX_Init");
    return __real_FCGX_Init();
}

int __wrap_FCGX_InitRequest(FCGX_Request* request, int socket, int flags) {
    record("FCGX_InitRequest", std::to_string(socket) + ", " + std::to_string(flags));
    return __real_FCGX_InitRequest(request, socket, flags);
}

int __wrap_FCGX_Accept_r(FCGX_Request* request) {
    record("FCGX_Accept_r");
    return __real_FCGX_Accept_r(request);
}

void __wrap_FCGX_Finish_r(FCGX_Request* request) {
    record("FCGX_Finish_r");
    __real_FCGX_Finish_r(request);
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
