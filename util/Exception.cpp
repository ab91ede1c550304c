// SPDX-License-Identifier: MIT
#include "util/Exception.h"

#include <utility>

namespace util {

Exception::Exception(std::string text) : text_(std::move(text)) {}

Exception::~Exception() = default;

std::string Exception::GetText() { return text_; }

std::string Exception::GetText() const { return text_; }

const char* Exception::what() const noexcept { return text_.c_str(); }

} // namespace util
