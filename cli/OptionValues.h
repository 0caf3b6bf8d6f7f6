// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "http/HTTPClient.h"

namespace tolvane {

// What is wrong with a value of --user-agent; "" if it is valid.
std::string userAgentFault(std::string_view text);

// What is wrong with a header field "Name: value"; "" if it is valid. The name must be a token of
// RFC 9110, and not one that changes which bytes are saved or where a message ends. The value may
// be a secret and is not part of the result.
std::string headerFieldFault(std::string_view text);

// Name and value of a valid header field, without the blanks around the value.
HeaderFields::value_type headerField(std::string_view text);

// A number of bytes above 0: digits, then optionally K, M or G in either case for a power of 1024.
// No value for any other string and for more than 64 bits.
std::optional<std::uint64_t> byteCount(std::string_view text);

}  // namespace tolvane
