// SPDX-License-Identifier: MIT
#pragma once

#include <cgicc/CgiInput.h>
#include <fcgio.h>

#include <map>
#include <ostream>
#include <string>

namespace cgicc {

/**
 * One accepted FastCGI request. cgicc reads the request's variables and body from it; the handlers write the
 * answer to it. The caller owns the FCGX_Request, must keep it alive and finishes it. One thread.
 */
class FCgiIO : public CgiInput, public std::ostream {
public:
    /** @throws std::runtime_error "Illegally formed environment" for a variable without "=" */
    explicit FCgiIO(FCGX_Request& request);

    /** Copies the variables. Output written to the copy is lost. */
    FCgiIO(const FCgiIO& other);
    FCgiIO& operator=(const FCgiIO&) = delete;
    ~FCgiIO() override;

    /** Reads up to `length` bytes of the body. @return how many it read; 0 at the end */
    std::size_t read(char* data, std::size_t length) override;

    /** The variable's value. An unknown name is added as a variable with an empty value. */
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
