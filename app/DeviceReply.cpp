// SPDX-License-Identifier: MIT
#include "app/DeviceReply.h"

#include "text/Encoding.h"
#include "text/Utf8.h"
#include "util/Exception.h"
#include "xml/XmlElement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <optional>
#include <string_view>

namespace app {
namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view declarationStart = "<?xml";
constexpr std::string_view declarationEnd = "?>";
constexpr std::size_t maxRefusalBytes = 65'536; // a sentence
constexpr std::size_t maxSentenceBytes = 500;

/** The bytes of the XML declaration with the blanks around it; none where there is none. */
std::string_view declarationOf(std::string_view document) {
    const std::size_t start = std::min(document.find_first_not_of(blanks), document.size());
    const std::string_view rest = document.substr(start);
    if (!rest.starts_with(declarationStart)) return {};
    if (rest.size() == declarationStart.size() ||
        blanks.find(rest[declarationStart.size()]) == std::string_view::npos)
        return {}; // a processing instruction whose name only begins like that
    const std::size_t end = rest.find(declarationEnd);
    if (end == std::string_view::npos) return {};
    const std::size_t next = document.find_first_not_of(blanks, start + end + declarationEnd.size());
    return document.substr(0, next);
}

/** What stands behind `name`, "=" and perhaps a quotation mark; empty where `name` is not in `text`. */
std::string valueOf(std::string_view text, std::string_view name) {
    const auto same = [](unsigned char one, unsigned char other) {
        return std::tolower(one) == std::tolower(other);
    };
    const auto* found = std::search(text.begin(), text.end(), name.begin(), name.end(), same);
    std::string_view rest(found, static_cast<std::size_t>(text.end() - found));
    rest.remove_prefix(std::min(name.size(), rest.size()));
    const std::size_t start = rest.find_first_not_of(" \t\r\n=\"'");
    if (start == std::string_view::npos) return {};
    rest.remove_prefix(start);
    return std::string(rest.substr(0, rest.find_first_of(" \t\r\n;\"'?")));
}

std::string encodingOf(const net::HttpAnswer& answer) {
    if (std::string marked = text::markedEncoding(answer.body); !marked.empty()) return marked;
    // Programs that hold their texts in UTF-16 like to say so of what they have sent in UTF-8.
    const bool narrow = answer.body.find('\0') == std::string::npos;
    for (const std::string& named :
         {valueOf(answer.contentType, "charset"), valueOf(declarationOf(answer.body), "encoding")})
        if (!named.empty() && !(narrow && text::isWide(named))) return named;
    return "UTF-8";
}

std::string textOf(const net::HttpAnswer& answer) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::optional<std::string> text = text::decoded(answer.body, encodingOf(answer));
    if (!text) throw util::Exception("The appliance's answer is in an unknown encoding.");
    if (text->starts_with(byteOrderMark)) text->erase(0, byteOrderMark.size());
    text->erase(0, declarationOf(*text).size());
    return *std::move(text);
}

std::string reasonOf(const net::HttpAnswer& answer) {
    try {
        return deviceRefusal(textOf(answer));
    } catch (const util::Exception&) {
        return {}; // the status has to do
    }
}

} // namespace

std::string deviceReply(const net::HttpAnswer& answer) {
    if (answer.status >= 200 && answer.status <= 299) return textOf(answer);
    const std::string reason = reasonOf(answer);
    throw util::Exception(fmt::format("The appliance answered with status {}{}{}", answer.status,
                                      reason.empty() ? "." : ": ", reason));
}

std::string deviceRefusal(const std::string& reply) {
    if (reply.size() > maxRefusalBytes) return {};
    std::string sentence;
    try {
        const xml::XmlDoc document = xml::parseXml(reply, maxRefusalBytes);
        const xml::XmlElement root = xml::XmlElement::rootOf(*document);
        if (!root.is("Error")) return {};
        sentence = root.text();
    } catch (const util::Exception&) {
        return {};
    }
    std::erase_if(sentence,
                  [](unsigned char c) { return std::iscntrl(c) != 0 || c == '<' || c == '>' || c == '&'; });
    if (sentence.size() > maxSentenceBytes) sentence.resize(maxSentenceBytes);
    while (!text::isUtf8(sentence)) // cut off amid a character
        sentence.pop_back();
    return sentence.empty() ? "It does not say why." : sentence;
}

} // namespace app
