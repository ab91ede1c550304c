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

/** Uses memmem(): std::string_view::find() can take time proportional to the product of the lengths. */
std::size_t find(std::string_view text, std::string_view part) {
    if (part.empty()) return 0;
    const void* found = memmem(text.data(), text.size(), part.data(), part.size());
    return found == nullptr ? std::string_view::npos
                            : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

/**
 * Implements an XPath function of two texts. Its result is what `cut` returns for the first match of the
 * second text in the first; without a match it is empty.
 */
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

/** Removes the first character of `text`, which must be valid UTF-8, and returns it. */
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
        replacements.emplace(takeCharacter(from), replacement); // for a repeated character, the first counts
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
    // xmlXPathRegisterFunc() doesn't replace a function, so remove the old one first.
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
