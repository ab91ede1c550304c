// SPDX-License-Identifier: MIT
#pragma once

#include <cgicc/CgiInput.h>
#include <fcgio.h>

#include <map>
#include <ostream>
#include <string>

namespace cgicc {

/**
 * One accepted FastCGI request: cgicc reads its variables and body here, and the handlers write the answer to
 * it. The request itself stays with the caller, who also finishes it. One thread.
 */
class FCgiIO : public CgiInput, public std::ostream {
public:
    /** @throws std::runtime_error "Illegally formed environment" for a variable without "=" */
    explicit FCgiIO(FCGX_Request& request);

    /** The same variables; what is written to the copy reaches nobody. */
    FCgiIO(const FCgiIO& other);
    FCgiIO& operator=(const FCgiIO&) = delete;
    ~FCgiIO() override;

    /** Reads up to `length` bytes of the body. @return how many; 0 at its end */
    std::size_t read(char* data, std::size_t length) override;

    /** The variable's value; a name that isn't there becomes a variable with an empty one. */
    std::string getenv(const char* varName) override;

    /** The stream to the web server's error log. */
    std::ostream& err() { return fErr; }

private:
    FCGX_Request& fRequest;
    fcgi_streambuf fOutBuf;
    fcgi_streambuf fErrBuf;
    std::ostream fErr;
    std::map<std::string, std::string> fEnv;
};

} // namespace cgicc
