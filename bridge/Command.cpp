// SPDX-License-Identifier: MIT
#include "bridge/Command.h"

#include "bridge/Failure.h"
#include "bridge/Numbers.h"
#include "util/Exception.h"
#include "util/Log.h"
#include "xml/XmlElement.h"

#include <fmt/format.h>

#include <algorithm>

namespace bridge {
namespace {

/** MPD takes a line of 4096 bytes, and each quotation mark becomes four on the way. */
constexpr std::size_t maxTextBytes = 900;
constexpr std::size_t maxShownNameBytes = 60;
constexpr std::string_view whiteSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(whiteSpace);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(whiteSpace) - start + 1);
}

xml::XmlDoc parsed(const std::string& document) {
    try {
        // Blanks may stand before an element, but not before a declaration.
        return xml::parseXml(std::string(trimmed(document)), Command::maxBytes);
    } catch (const util::Exception&) {
        throw Failure(ErrorCode::malformed, "The command is no well-formed XML.");
    }
}

} // namespace

Command::Command(const std::string& document) {
    const xml::XmlDoc tree = parsed(document);
    const xml::XmlElement root = xml::XmlElement::rootOf(*tree);
    name_ = root.name();
    if (!root.nameSpace().empty())
        throw Failure(ErrorCode::unknownCommand, "There are no commands in a namespace.");
    if (!trimmed(root.ownText()).empty())
        throw Failure(ErrorCode::badField, "The command has text outside its fields.");
    for (const xml::XmlElement& field : root.children()) {
        const std::string name(field.name());
        if (!field.nameSpace().empty()) refuse(name, "is in a namespace");
        if (!field.children().empty()) refuse(name, "is no text");
        if (!fields_.emplace(name, trimmed(field.text())).second) refuse(name, "is there twice");
    }
}

void Command::allowOnly(std::span<const std::string_view> fields) const {
    for (const auto& [name, value] : fields_)
        if (std::ranges::find(fields, name) == fields.end()) refuse(name, "is unknown");
}

std::optional<std::string> Command::text(const std::string& field) const {
    const std::optional<std::string_view> value = find(field);
    if (!value) return std::nullopt;
    if (value->empty()) refuse(field, "is empty");
    if (value->size() > maxTextBytes) refuse(field, "is too long");
    // A line end would begin another command of MPD's protocol.
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    if (std::ranges::any_of(*value, isControl)) refuse(field, "has control characters in it");
    return std::string(*value);
}

std::optional<int> Command::number(const std::string& field, int least, int most) const {
    const std::optional<std::string_view> value = find(field);
    if (!value) return std::nullopt;
    const std::optional<int> number = wholeNumber(*value);
    if (!number || *number < least || *number > most)
        refuse(field, fmt::format("is no whole number from {} to {}", least, most));
    return number;
}

void Command::refuse(std::string_view field, std::string_view reason) {
    throw Failure(ErrorCode::badField,
                  fmt::format("The field {} {}.", util::printable(field, maxShownNameBytes), reason));
}

std::optional<std::string_view> Command::find(const std::string& field) const {
    const auto found = fields_.find(field);
    return found == fields_.end() ? std::nullopt : std::optional<std::string_view>(found->second);
}

} // namespace bridge
