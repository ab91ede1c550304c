// SPDX-License-Identifier: MIT
#include "util/Exception.h"

#include "tests/cgi/standin/Recorder.h"

#include <utility>

namespace util {

Exception::Exception(std::string text) : text_(std::move(text)) {}

Exception::~Exception() = default;

std::string Exception::GetText() { return std::as_const(*this).GetText(); }

std::string Exception::GetText() const { return standin::called("Exception::GetText").value_or(text_); }

const char* Exception::what() const noexcept { return text_.c_str(); }

} // namespace util
