// SPDX-License-Identifier: MIT
#include "bridge/Failure.h"

#include "text/Utf8.h"
#include "util/Log.h"

namespace bridge {
namespace {

/** Without the characters that a sentence of a failure must not have. */
std::string plain(std::string_view reason) {
    std::string result = text::toUtf8(reason);
    std::erase_if(result, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F || c == '<' || c == '>' || c == '&';
    });
    return util::printable(result); // cuts it, too
}

} // namespace

Refused::Refused(std::string_view reason, bool invalidArgument)
    : Failure(ErrorCode::refused, "The music server refuses: " + plain(reason)),
      invalidArgument_(invalidArgument) {}

} // namespace bridge
