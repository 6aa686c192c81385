#include "simulator/mcu/Bytes.h"

namespace {

int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

}  // namespace

std::string toHex(const Bytes& bytes) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

std::optional<Bytes> fromHex(const std::string& text) {
    Bytes bytes;
    std::size_t position = 0;
    while (position < text.size()) {
        if (text[position] == ' ') {
            ++position;
            continue;
        }
        const int high = digitValue(text[position]);
        const int low = position + 1 < text.size() ? digitValue(text[position + 1]) : -1;
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
        position += 2;
    }
    return bytes;
}
