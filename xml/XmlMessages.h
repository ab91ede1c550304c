// SPDX-License-Identifier: MIT
#pragma once

#include <libxml/xmlerror.h>

#include <string>
#include <string_view>

namespace xml {

/**
 * While it lives it catches what libxml2 and libxslt have to say on this thread, which would go to standard
 * error piece by piece otherwise; afterwards the functions that were there before are back. Neither copied
 * nor moved.
 */
class XmlMessages {
public:
    XmlMessages();
    XmlMessages(const XmlMessages&) = delete;
    XmlMessages& operator=(const XmlMessages&) = delete;
    ~XmlMessages();

    /** Lets libxslt, which knows only one function per process, speak to the one that libxml2 keeps per
     * thread. */
    static void joinXslt() noexcept;

    /** What was said first, as one line and cut where it gets long; empty when nothing was said. */
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
