#pragma once

#include <cstddef>
#include <string>

// Conversions between UTF-8 and wide strings. Any thread.

// What a failed conversion returns.
constexpr std::size_t kConversionFailed = static_cast<std::size_t>(-1);

// Both return what iconv returned: the number of characters converted in a way that cannot be
// undone, as a rule 0. On kConversionFailed (the input is not valid) the destination is unchanged.
// Throw KdBadAlloc when there is no memory.
std::size_t utf8ToWide(const std::string& utf8, std::wstring& wide);
std::size_t wideToUtf8(const std::wstring& wide, std::string& utf8);
