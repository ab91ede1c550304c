// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Fields.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

// Answers in JSON. None of these throws what the parser's library throws.

namespace sources::json {

using Value = nlohmann::json;

/** Nothing where it is no JSON, larger than maxParsedBytes, or nested deeper than any answer is. */
[[nodiscard]] std::optional<Value> tryParse(std::string_view document);

/** @throws util::Exception where tryParse() has nothing */
[[nodiscard]] Value parse(std::string_view document);

/** The member of that name; null where there is none, or `value` is no object. Lives as long as `value`. */
[[nodiscard]] const Value& member(const Value& value, std::string_view name);

/** The elements of an array; none of anything else. They live as long as `value`. */
[[nodiscard]] const Value::array_t& elements(const Value& value);

/** The members of an object; none of anything else. They live as long as `value`. */
[[nodiscard]] const Value::object_t& members(const Value& value);

/** The member as a text; empty where it is none. */
[[nodiscard]] std::string_view text(const Value& value, std::string_view name);

[[nodiscard]] std::string name(const Value& value, std::string_view name);
[[nodiscard]] std::string webAddress(const Value& value, std::string_view name);

/** An id or a count, written as a number or as a text of digits; empty where it is neither. */
[[nodiscard]] std::string digits(const Value& value, std::string_view name);

} // namespace sources::json
