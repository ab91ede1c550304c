// SPDX-License-Identifier: MIT
#include "xml/XmlMessages.h"

#include <libxml/globals.h>
#include <libxslt/xsltutils.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>

namespace xml {

namespace {

constexpr std::size_t maxTextBytes = 400;

using Message = std::array<char, maxTextBytes>;

const char* fileName(const char* url) noexcept {
    const char* slash = std::strrchr(url, '/');
    return slash == nullptr ? url : slash + 1;
}

void format(Message& message, const char* pattern, std::va_list arguments) noexcept {
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the callers call va_start()
    if (std::vsnprintf(message.data(), message.size(), pattern, arguments) < 0) message.front() = '\0';
}

// NOLINTNEXTLINE(cert-dcl50-cpp): libxslt requires this signature
void passOn(void*, const char* pattern, ...) noexcept {
    Message message{};
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, pattern);
    format(message, pattern, arguments);
    va_end(arguments);
    xmlGenericError(xmlGenericErrorContext, "%s", message.data());
}

} // namespace

XmlMessages::XmlMessages()
    : previousOnError_(xmlStructuredError), previousErrorContext_(xmlStructuredErrorContext),
      previousOnText_(xmlGenericError), previousTextContext_(xmlGenericErrorContext) {
    xmlSetStructuredErrorFunc(this, onError);
    xmlSetGenericErrorFunc(this, onText);
}

XmlMessages::~XmlMessages() {
    xmlSetGenericErrorFunc(previousTextContext_, previousOnText_);
    xmlSetStructuredErrorFunc(previousErrorContext_, previousOnError_);
}

void XmlMessages::joinXslt() noexcept { xsltSetGenericErrorFunc(nullptr, passOn); }

std::string XmlMessages::line() const {
    std::string line;
    for (const char c : text_) {
        if (c != '\n') {
            line += c;
        } else if (!line.empty() && !line.ends_with("; ")) {
            line += "; ";
        }
    }
    if (line.ends_with("; ")) line.resize(line.size() - 2);
    return line;
}

void XmlMessages::onError(void* self, xmlErrorPtr error) noexcept {
    if (error == nullptr || error->message == nullptr) return;
    if (error->line > 0 && error->file != nullptr) onText(self, "%s ", fileName(error->file));
    if (error->line > 0) onText(self, "line %d: ", error->line);
    static_cast<XmlMessages*>(self)->add(error->message);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): libxml2 requires this signature
void XmlMessages::onText(void* self, const char* pattern, ...) noexcept {
    Message message{};
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, pattern);
    format(message, pattern, arguments);
    va_end(arguments);
    static_cast<XmlMessages*>(self)->add(message.data());
}

void XmlMessages::add(std::string_view text) noexcept {
    try {
        text_ += text.substr(0, maxTextBytes - text_.size());
    } catch (const std::exception&) {
        return; // out of memory: the message is lost, but the failure is still reported
    }
}

} // namespace xml
