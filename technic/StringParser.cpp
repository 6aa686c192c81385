#include "technic/StringParser.h"

#include <cstring>

#include "technic/TrackedAlloc.h"

namespace {

// The place under which a token's allocation is remembered. Fixed, for the allocation dump is read
// by it.
constexpr char kTokenFile[] = "StringParser.cpp";
constexpr int kTokenLine = 33;

bool isNullOrEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

}  // namespace

std::size_t StringParser::split(const char* text, const char* delimiter) {
    if (isNullOrEmpty(text) || isNullOrEmpty(delimiter)) {
        return 0;
    }
    const std::size_t before = m_tokens.size();
    const std::size_t delimiterLength = std::strlen(delimiter);
    const char* piece = text;
    while (const char* end = std::strstr(piece, delimiter)) {
        append(piece, static_cast<std::size_t>(end - piece));
        piece = end + delimiterLength;
    }
    append(piece, std::strlen(piece));
    return m_tokens.size() - before;
}

void StringParser::append(const char* piece, std::size_t length) {
    if (length != 0) {
        m_tokens.emplace_back(new (kTokenFile, kTokenLine) std::string(piece, length));
    }
}
