// SPDX-License-Identifier: MIT
#include "util/XmlMessages.h"

#include <fmt/format.h>
#include <libxml/globals.h>
#include <libxslt/xsltutils.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string_view>

namespace util {

namespace {

constexpr std::size_t maxTextBytes = 400;

using MessageBuffer = std::array<char, maxTextBytes>;

std::string_view fileName(const char* url) {
    const std::string_view path = url;
    return path.substr(path.find_last_of('/') + 1);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): the signature that libxslt calls
void passOn(void*, const char* pattern, ...) noexcept {
    MessageBuffer buffer{};
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, pattern);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), pattern, arguments);
    va_end(arguments);
    if (length > 0) xmlGenericError(xmlGenericErrorContext, "%s", buffer.data());
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

void XmlMessages::joinXslt() noexcept {
    xsltSetGenericErrorFunc(nullptr, passOn);
}

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
    MessageBuffer where{};
    if (error->line > 0) {
        const std::string_view file = fileName(error->file == nullptr ? "" : error->file);
        *fmt::format_to_n(where.data(), where.size() - 1, "{}{}line {}: ", file, file.empty() ? "" : " ", error->line).out = '\0';
    }
    static_cast<XmlMessages*>(self)->add(where.data());
    static_cast<XmlMessages*>(self)->add(error->message);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): the signature that libxml2 calls
void XmlMessages::onText(void* self, const char* pattern, ...) noexcept {
    MessageBuffer buffer{};
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, pattern);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), pattern, arguments);
    va_end(arguments);
    if (length > 0) static_cast<XmlMessages*>(self)->add(buffer.data());
}

void XmlMessages::add(const char* text) noexcept {
    if (text_.size() >= maxTextBytes) return;
    try {
        text_ += std::string_view(text).substr(0, maxTextBytes - text_.size());
    } catch (const std::exception&) {
        return; // out of memory: the message is lost, the failure itself is not
    }
}

} // namespace util
