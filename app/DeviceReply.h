// SPDX-License-Identifier: MIT
#pragma once

#include "net/HttpClient.h"

#include <string>

namespace app {

/**
 * What the appliance answered, in UTF-8 and without a declaration of its own, which would be wrong by then.
 * Its encoding is what its byte order mark says, else its Content-Type, else its declaration;
 * but it is no UTF-16 without a zero byte.
 * @throws util::Exception for an answer that is no success, with the reason that it gives, or in an encoding
 * that nobody knows
 */
[[nodiscard]] std::string deviceReply(const net::HttpAnswer& answer);

/** The text of an appliance's element `Error`, fit for an exception's sentence; empty where `reply` is
 * something else. */
[[nodiscard]] std::string deviceRefusal(const std::string& reply);

} // namespace app
