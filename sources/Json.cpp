// SPDX-License-Identifier: MIT
#include "sources/Json.h"

#include "text/Utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace sources::json {
namespace {

constexpr int maxDepth = 32;

/** Checks before parsing, so that a deeply nested document is never built in memory. */
bool isTooDeep(std::string_view document) noexcept {
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < document.size(); ++i) {
        const char c = document[i];
        if (quoted && c == '\\') {
            ++i;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && (c == '[' || c == '{')) {
            if (++depth > maxDepth) return true;
        } else if (!quoted && (c == ']' || c == '}')) {
            --depth;
        }
    }
    return false;
}

} // namespace

std::optional<Value> tryParse(std::string_view document) {
    if (document.size() > maxParsedBytes || isTooDeep(document)) return std::nullopt;
    Value value = Value::parse(text::toUtf8(document), nullptr, false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

Value parse(std::string_view document) {
    auto value = tryParse(document);
    if (!value) throw util::Exception("The answer is no JSON.");
    return std::move(*value);
}

const Value& member(const Value& value, std::string_view name) {
    static const Value none;
    const auto found = value.find(name);
    return found == value.end() ? none : *found;
}

const Value::array_t& elements(const Value& value) {
    static const Value::array_t none;
    const auto* const array = value.get_ptr<const Value::array_t*>();
    return array == nullptr ? none : *array;
}

const Value::object_t& members(const Value& value) {
    static const Value::object_t none;
    const auto* const object = value.get_ptr<const Value::object_t*>();
    return object == nullptr ? none : *object;
}

std::string_view text(const Value& value, std::string_view name) {
    const auto* const text = member(value, name).get_ptr<const std::string*>();
    return text == nullptr ? std::string_view() : std::string_view(*text);
}

std::string name(const Value& value, std::string_view name) { return nameFrom(text(value, name)); }

std::string webAddress(const Value& value, std::string_view name) {
    return webAddressFrom(text(value, name));
}

std::string digits(const Value& value, std::string_view name) {
    const Value& found = member(value, name);
    if (const auto* const number = found.get_ptr<const Value::number_unsigned_t*>())
        return std::to_string(*number);
    const std::string_view digits = text(value, name);
    constexpr std::size_t longest = 20;
    const bool good =
        digits.size() <= longest && std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
    return good ? std::string(digits) : std::string();
}

} // namespace sources::json
