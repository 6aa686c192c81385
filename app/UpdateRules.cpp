#include "app/UpdateRules.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace update_rules {

namespace {

constexpr std::size_t kDigitsPerByte = 2;

bool isHexadecimal(const std::string& text) {
    for (const char digit : text) {
        if (std::isxdigit(static_cast<unsigned char>(digit)) == 0) {
            return false;
        }
    }
    return true;
}

unsigned long byteAt(const std::string& text, std::size_t position) {
    return std::strtoul(text.substr(position, kDigitsPerByte).c_str(), nullptr, 16);
}

}  // namespace

std::optional<std::string> maskHardware(const std::string& text, const std::string& mask) {
    if (mask.empty()) {
        return text;
    }
    if (mask.size() < text.size() || !isHexadecimal(text) ||
        !isHexadecimal(mask.substr(0, text.size()))) {
        return std::nullopt;
    }
    std::string masked;
    for (std::size_t position = 0; position < text.size(); position += kDigitsPerByte) {
        std::array<char, kDigitsPerByte + 1> digits{};
        const auto byte = static_cast<unsigned>(byteAt(text, position) & byteAt(mask, position));
        (void)std::snprintf(digits.data(), digits.size(), "%02x", byte & 0xFFU);
        masked += digits.data();
    }
    return masked;
}

bool isSameHardware(const std::string& mcu, const std::string& file, const std::string& mask) {
    const std::optional<std::string> maskedMcu = maskHardware(mcu, mask);
    const std::optional<std::string> maskedFile = maskHardware(file, mask);
    return maskedMcu && maskedFile && *maskedMcu == *maskedFile;
}

bool needsUpdate(const std::string& mcuVersion, const std::string& fileVersion, bool forceUpdate,
                 bool higherVersion) {
    const long mcu = std::strtol(mcuVersion.c_str(), nullptr, 10);
    const long file = std::strtol(fileVersion.c_str(), nullptr, 10);
    if (forceUpdate) {
        return true;
    }
    return higherVersion ? file > mcu : file != mcu;
}

}  // namespace update_rules
