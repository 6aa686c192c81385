#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// Two lower-case hexadecimal digits for each byte, without separators.
std::string toHex(const Bytes& bytes);

// The bytes that the digits stand for (blanks between bytes are allowed), or nothing when the text
// is not a whole number of hexadecimal byte values.
std::optional<Bytes> fromHex(const std::string& text);
