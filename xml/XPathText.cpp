// SPDX-License-Identifier: MIT
#include "xml/XPathText.h"

#include "xml/XmlHandles.h"

#include <libxml/xmlstring.h>
#include <libxml/xpathInternals.h>

#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>

namespace xml {

namespace {

std::string_view viewOf(const XmlText& text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text.get())) : std::string_view();
}

/** memmem() and not std::string_view::find(), whose worst case is the product of the lengths. */
std::size_t find(std::string_view text, std::string_view part) {
    if (part.empty()) return 0;
    const void* found = memmem(text.data(), text.size(), part.data(), part.size());
    return found == nullptr ? std::string_view::npos
                            : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

/** The text that XPath gives out in the place of two: nothing where `part` isn't in `text`. */
template <typename Cut>
void cutAt(xmlXPathParserContextPtr context, int arguments, Cut cut) noexcept {
    if (arguments != 2) {
        xmlXPathSetArityError(context);
        return;
    }
    const XmlText part(xmlXPathPopString(context));
    const XmlText text(xmlXPathPopString(context));
    if (xmlXPathCheckError(context)) return;
    const std::size_t at = find(viewOf(text), viewOf(part));
    const std::string_view result =
        at == std::string_view::npos ? "" : cut(viewOf(text), at, viewOf(part).size());
    xmlXPathReturnString(context, xmlStrndup(reinterpret_cast<const xmlChar*>(result.data()),
                                             static_cast<int>(result.size())));
}

void contains(xmlXPathParserContextPtr context, int arguments) noexcept {
    if (arguments != 2) {
        xmlXPathSetArityError(context);
        return;
    }
    const XmlText part(xmlXPathPopString(context));
    const XmlText text(xmlXPathPopString(context));
    if (xmlXPathCheckError(context)) return;
    xmlXPathReturnBoolean(context, find(viewOf(text), viewOf(part)) != std::string_view::npos ? 1 : 0);
}

void substringBefore(xmlXPathParserContextPtr context, int arguments) noexcept {
    cutAt(context, arguments,
          [](std::string_view text, std::size_t at, std::size_t) { return text.substr(0, at); });
}

void substringAfter(xmlXPathParserContextPtr context, int arguments) noexcept {
    cutAt(context, arguments,
          [](std::string_view text, std::size_t at, std::size_t length) { return text.substr(at + length); });
}

/** The first character of a well-formed text, taken off it. */
std::string_view takeCharacter(std::string_view& text) {
    std::size_t length = 1;
    while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
        ++length;
    const std::string_view character = text.substr(0, length);
    text.remove_prefix(length);
    return character;
}

std::string translated(std::string_view text, std::string_view from, std::string_view to) {
    std::unordered_map<std::string_view, std::string_view> replacements;
    while (!from.empty()) {
        const std::string_view replacement = to.empty() ? std::string_view() : takeCharacter(to);
        replacements.emplace(takeCharacter(from), replacement); // the first of equal ones counts
    }
    std::string result;
    while (!text.empty()) {
        const std::string_view character = takeCharacter(text);
        const auto found = replacements.find(character);
        result += found == replacements.end() ? character : found->second;
    }
    return result;
}

void translate(xmlXPathParserContextPtr context, int arguments) noexcept {
    if (arguments != 3) {
        xmlXPathSetArityError(context);
        return;
    }
    const XmlText to(xmlXPathPopString(context));
    const XmlText from(xmlXPathPopString(context));
    const XmlText text(xmlXPathPopString(context));
    if (xmlXPathCheckError(context)) return;
    try {
        const std::string result = translated(viewOf(text), viewOf(from), viewOf(to));
        xmlXPathReturnString(context, xmlStrndup(reinterpret_cast<const xmlChar*>(result.data()),
                                                 static_cast<int>(result.size())));
    } catch (const std::bad_alloc&) {
        xmlXPathSetError(context, XPATH_MEMORY_ERROR);
    }
}

void put(xmlXPathContext& context, const char* name, xmlXPathFunction function) {
    // A function that is there already would stay.
    xmlXPathRegisterFunc(&context, reinterpret_cast<const xmlChar*>(name), nullptr);
    if (xmlXPathRegisterFunc(&context, reinterpret_cast<const xmlChar*>(name), function) != 0)
        throw std::bad_alloc();
}

} // namespace

void registerLinearTextFunctions(xmlXPathContext& context) {
    put(context, "contains", contains);
    put(context, "substring-before", substringBefore);
    put(context, "substring-after", substringAfter);
    put(context, "translate", translate);
}

} // namespace xml
