// What a firmware file says of itself, and the rules on it. Input: the texts of both positions, of
// the mask, of the MCU's hardware and of its version; the length in four bytes; flags in two bytes;
// the rest is the file.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>

#include "app/EntryPreparation.h"
#include "app/UpdateRules.h"
#include "tests/fuzz/support/Files.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"

namespace {

constexpr char kDirectory[] = "/tmp/";
constexpr char kName[] = "image.bin";

int digitOf(char c) {
    const std::string digits = "0123456789abcdef";
    const std::size_t digit = digits.find(static_cast<char>(std::tolower(c & 0xFF)));
    return digit == std::string::npos || c == '\0' ? -1 : static_cast<int>(digit);
}

// As C reads hexadecimal numbers; beyond what a file can have, any number that is.
double positionOf(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && std::isspace(text[at] & 0xFF) != 0) {
        ++at;
    }
    const bool isNegative = text.compare(at, 1, "-") == 0;
    at += isNegative || text.compare(at, 1, "+") == 0 ? 1 : 0;
    const bool hasPrefix = text.size() > at + 2 && text[at] == '0' &&
                           std::tolower(text[at + 1] & 0xFF) == 'x' && digitOf(text[at + 2]) >= 0;
    at += hasPrefix ? 2 : 0;
    double position = 0;
    for (; at < text.size() && digitOf(text[at]) >= 0; ++at) {
        position = position * 16 + digitOf(text[at]);
    }
    return isNegative ? -position : position;
}

// The bytes, the last one first, or nothing when the file has none there.
std::optional<std::string> bytesAt(const std::string& file, const std::string& position,
                                   int length) {
    if (length <= 0) {
        return "";
    }
    const double begin = positionOf(position);
    if (begin < 0 || begin + length > static_cast<double>(file.size())) {
        return std::nullopt;
    }
    std::string bytes =
        file.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(length));
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::string formatted(const char* format, const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        char part[8];
        (void)std::snprintf(part, sizeof part, format, byte & 0xFF);
        text += part;
    }
    return text;
}

void requirePrepared(const std::optional<PreparedEntry>& prepared, const UpdateFileEntry& entry,
                     const std::string& file) {
    const auto version = bytesAt(file, entry.versionPosition, 3);
    const auto hardware = bytesAt(file, entry.hardwareInfoPosition, entry.hardwareInfoLength);
    require(prepared.has_value() == (version && hardware),
            "an entry is taken when its file holds what it is asked for");
    if (prepared) {
        require(prepared->fileVersion == formatted("%d", *version), "the version is the file's");
        require(prepared->fileHardware == formatted("%02x", *hardware),
                "the hardware information is the file's");
    }
}

// Two digits of `text`, or what is there; -1 when something else is.
int pairAt(const std::string& text, std::size_t position) {
    int value = 0;
    for (std::size_t i = position; i < std::min(position + 2, text.size()); ++i) {
        value = digitOf(text[i]) < 0 || value < 0 ? -1 : value * 16 + digitOf(text[i]);
    }
    return value;
}

// Digit by digit, for texts of an even length that are covered by the mask.
bool isSameUnder(const std::string& mask, const std::string& one, const std::string& other) {
    for (std::size_t i = 0; i < one.size(); i += 2) {
        const int bits = pairAt(mask, i);
        if (bits < 0 || pairAt(one, i) < 0 || pairAt(other, i) < 0 ||
            (pairAt(one, i) & bits) != (pairAt(other, i) & bits)) {
            return false;
        }
    }
    return true;
}

void requireHardwareRule(const std::string& mcu, const std::string& file, const std::string& mask) {
    const bool isSame = update_rules::isSameHardware(mcu, file, mask);
    require(isSame == update_rules::isSameHardware(file, mcu, mask), "neither side is preferred");
    if (mask.empty()) {
        require(isSame == (mcu == file), "without a mask the texts are compared");
    } else if (mask.size() < std::max(mcu.size(), file.size())) {
        require(!isSame, "a mask that leaves something uncovered fails");
    } else if (mcu.size() == file.size() && mcu.size() % 2 == 0) {
        require(isSame == isSameUnder(mask, mcu, file), "the masked bits are compared");
    } else {
        require(!isSame || (mcu.size() + 1) / 2 == (file.size() + 1) / 2,
                "texts of different lengths differ");
    }
}

void requireVersionRule(const std::string& mcu, const std::string& file, bool higherVersion) {
    require(update_rules::needsUpdate(mcu, file, true, higherVersion), "what is forced is sent");
    require(!update_rules::needsUpdate(file, file, false, higherVersion),
            "an equal version is not sent");
    const bool isHigher = update_rules::needsUpdate(mcu, file, false, true);
    const bool isLower = update_rules::needsUpdate(file, mcu, false, true);
    require(!(isHigher && isLower), "a version is not higher and lower");
    require(update_rules::needsUpdate(mcu, file, false, false) == (isHigher || isLower),
            "a version that differs is higher or lower");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    UpdateFileEntry entry;
    entry.fileName = kName;
    entry.versionPosition = input.text();
    entry.hardwareInfoPosition = input.text();
    entry.hardwareInfoMask = input.text();
    const std::string mcuHardware = input.text();
    const std::string mcuVersion = input.text();
    entry.hardwareInfoLength = input.number();
    entry.ForceUpdate = input.flag();
    entry.HigherVersion = input.flag();
    const std::string file = input.rest();
    writeFile(std::string(kDirectory) + kName, file);
    const std::optional<PreparedEntry> prepared = prepareEntry(entry, kDirectory);
    requirePrepared(prepared, entry, file);
    const std::string fileHardware = prepared ? prepared->fileHardware : entry.versionPosition;
    requireHardwareRule(mcuHardware, fileHardware, entry.hardwareInfoMask);
    requireHardwareRule(fileHardware, fileHardware, entry.hardwareInfoMask);
    const std::string fileVersion = prepared ? prepared->fileVersion : entry.hardwareInfoPosition;
    requireVersionRule(mcuVersion, fileVersion, entry.HigherVersion);
    return 0;
}
