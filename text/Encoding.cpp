// SPDX-License-Identifier: MIT
#include "text/Encoding.h"

#include "text/Utf8.h"
#include "util/Exception.h"

#include <unicode/ucnv.h>

#include <limits>
#include <memory>

namespace text {
namespace {

std::int32_t lengthOf(std::string_view bytes) {
    if (bytes.size() > std::numeric_limits<std::int32_t>::max() / 4)
        throw util::Exception("The text is too long.");
    return static_cast<std::int32_t>(bytes.size());
}

} // namespace

std::optional<std::string> decoded(std::string_view bytes, const std::string& encoding) {
    if (ucnv_compareNames(encoding.c_str(), "UTF-8") == 0) return toUtf8(bytes);
    const std::int32_t length = lengthOf(bytes);
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t needed =
        ucnv_convert("UTF-8", encoding.c_str(), nullptr, 0, bytes.data(), length, &error);
    if (error != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(error) != 0) return std::nullopt;
    std::string utf8(static_cast<std::size_t>(needed), '\0');
    error = U_ZERO_ERROR;
    ucnv_convert("UTF-8", encoding.c_str(), utf8.data(), needed, bytes.data(), length, &error);
    if (U_FAILURE(error) != 0) return std::nullopt;
    return utf8;
}

bool isWide(const std::string& encoding) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, void (*)(UConverter*)> converter(ucnv_open(encoding.c_str(), &error),
                                                                       &ucnv_close);
    return converter && ucnv_getMinCharSize(converter.get()) > 1;
}

std::string markedEncoding(std::string_view bytes) {
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t length = 0;
    const char* name = ucnv_detectUnicodeSignature(
        bytes.data(), static_cast<std::int32_t>(bytes.substr(0, 8).size()), &length, &error);
    return U_SUCCESS(error) != 0 && name != nullptr ? name : "";
}

} // namespace text
