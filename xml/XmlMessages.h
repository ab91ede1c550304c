// SPDX-License-Identifier: MIT
#pragma once

#include <libxml/xmlerror.h>

#include <string>
#include <string_view>

namespace xml {

/**
 * Collects the messages of libxml2 and libxslt on this thread during its lifetime. Without it, the libraries
 * print them to standard error in pieces. The destructor restores the previous handlers. Not copyable or
 * movable.
 */
class XmlMessages {
public:
    XmlMessages();
    XmlMessages(const XmlMessages&) = delete;
    XmlMessages& operator=(const XmlMessages&) = delete;
    ~XmlMessages();

    /**
     * Forwards libxslt's messages to libxml2's handler. libxslt has one handler per process, libxml2 has one
     * per thread.
     */
    static void joinXslt() noexcept;

    /** The messages as one line, cut after about 400 bytes; empty when there were none. */
    [[nodiscard]] std::string line() const;

private:
    static void onError(void* self, xmlErrorPtr error) noexcept;
    static void onText(void* self, const char* pattern, ...) noexcept;
    void add(std::string_view text) noexcept;

    std::string text_;
    xmlStructuredErrorFunc previousOnError_;
    void* previousErrorContext_;
    xmlGenericErrorFunc previousOnText_;
    void* previousTextContext_;
};

} // namespace xml
