// SPDX-License-Identifier: MIT
#include "cgi/FCgiIO.h"

#include <algorithm>
#include <climits>
#include <stdexcept>

namespace cgicc {

// The std::ostream base is constructed before fOutBuf, so the body sets its buffer.
FCgiIO::FCgiIO(FCGX_Request& request)
    : std::ostream(nullptr), fRequest(request), fOutBuf(request.out), fErrBuf(request.err), fErr(&fErrBuf) {
    rdbuf(&fOutBuf);
    for (char** entry = request.envp; *entry != nullptr; ++entry) {
        const std::string variable(*entry);
        const std::string::size_type equals = variable.find('=');
        if (equals == std::string::npos) throw std::runtime_error("Illegally formed environment");
        fEnv[variable.substr(0, equals)] = variable.substr(equals + 1);
    }
}

// A copy has no FastCGI stream. Writing to its fcgi_streambuf would dereference null, so both streams are
// marked bad: a bad stream doesn't write.
FCgiIO::FCgiIO(const FCgiIO& other)
    : std::basic_ios<char>(), // NOLINT(readability-redundant-member-init): g++ warns without it
      CgiInput(other), std::ostream(nullptr), fRequest(other.fRequest), fErr(&fErrBuf), fEnv(other.fEnv) {
    rdbuf(&fOutBuf);
    setstate(std::ios_base::badbit);
    fErr.setstate(std::ios_base::badbit);
}

FCgiIO::~FCgiIO() = default;

std::size_t FCgiIO::read(char* data, std::size_t length) {
    const auto atMost = static_cast<int>(std::min<std::size_t>(length, INT_MAX));
    return static_cast<std::size_t>(FCGX_GetStr(data, atMost, fRequest.in));
}

std::string FCgiIO::getenv(const char* varName) { return fEnv[varName]; }

} // namespace cgicc
