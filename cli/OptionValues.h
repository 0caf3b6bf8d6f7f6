// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "http/HTTPClient.h"

namespace tolvane {

// What is wrong with a text as a value of --user-agent, "" where nothing is.
std::string userAgentFault(std::string_view text);

// What is wrong with a text as a header field "Name: value", "" where nothing is. The name has to
// be a token of RFC 9110, and none that would change which bytes are saved or where a message ends.
// The text may hold a secret and is no part of what is returned.
std::string headerFieldFault(std::string_view text);

// Name and value, without the blanks around it, of a text without a fault.
HeaderFields::value_type headerField(std::string_view text);

// A number of bytes above 0, as digits with K, M or G for a power of 1024 behind them, in either
// case; no value for another text and for more than fits 64 bits.
std::optional<std::uint64_t> byteCount(std::string_view text);

}  // namespace tolvane
