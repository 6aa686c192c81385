#include "tests/fuzz/support/Utf8Oracle.h"

#include <cstddef>
#include <cstdint>

namespace {

// How many bytes a character has that begins with `lead`, what of it belongs to the character, and
// the least character that takes as many bytes.
struct Lead {
    unsigned char mask;
    unsigned char value;
    std::size_t length;
    std::uint32_t least;
};

constexpr Lead kLeads[] = {{0x80, 0x00, 1, 0},        {0xE0, 0xC0, 2, 0x80},
                           {0xF0, 0xE0, 3, 0x800},    {0xF8, 0xF0, 4, 0x10000},
                           {0xFC, 0xF8, 5, 0x200000}, {0xFE, 0xFC, 6, 0x4000000}};
constexpr std::uint32_t kFirstSurrogate = 0xD800;
constexpr std::uint32_t kLastSurrogate = 0xDFFF;

const Lead* leadOf(unsigned char byte) {
    for (const Lead& lead : kLeads) {
        if ((byte & lead.mask) == lead.value) {
            return &lead;
        }
    }
    return nullptr;
}

bool isCharacter(std::uint32_t character, const Lead& lead) {
    return character >= lead.least && (character < kFirstSurrogate || character > kLastSurrogate);
}

}  // namespace

std::optional<std::wstring> decodedUtf8(const std::string& text) {
    std::wstring decoded;
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at]);
        const Lead* lead = leadOf(first);
        if (lead == nullptr || lead->length > text.size() - at) {
            return std::nullopt;
        }
        std::uint32_t character = first & static_cast<unsigned char>(~lead->mask);
        for (std::size_t i = 1; i < lead->length; ++i) {
            const auto byte = static_cast<unsigned char>(text[at + i]);
            if ((byte & 0xC0U) != 0x80U) {
                return std::nullopt;
            }
            character = character << 6U | (byte & 0x3FU);
        }
        if (!isCharacter(character, *lead)) {
            return std::nullopt;
        }
        decoded += static_cast<wchar_t>(character);
        at += lead->length;
    }
    return decoded;
}
