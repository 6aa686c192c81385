#pragma once

#include <optional>
#include <string>

// The characters of a text in UTF-8, worked out anew; nothing when it is none. As the C library has
// it, they are those of RFC 2279: up to six bytes each, but no surrogates.
std::optional<std::wstring> decodedUtf8(const std::string& text);
