#include "app/EntryPreparation.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "technic/RegularFile.h"

namespace {

constexpr int kVersionLength = 3;

// Exactly `length` bytes from `position` on, or nothing. Asks for memory only after it is clear
// that the file holds them.
std::optional<std::vector<unsigned char>> readBytes(const RegularFile& file, std::int64_t position,
                                                    int length) {
    std::vector<unsigned char> bytes;
    if (length <= 0) {
        return bytes;
    }
    if (!file.holds(position, length)) {
        return std::nullopt;
    }
    bytes.resize(static_cast<std::size_t>(length));
    if (!file.readAt(position, bytes.data(), bytes.size())) {
        return std::nullopt;
    }
    return bytes;
}

// Hexadecimal with or without a leading 0x; a text that is no number reads as 0.
std::int64_t positionOf(const std::string& text) {
    return std::strtoll(text.c_str(), nullptr, 16);
}

std::string versionText(const std::vector<unsigned char>& bytes) {
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "%d%d%d", bytes[2], bytes[1], bytes[0]);
    return text.data();
}

std::string hardwareText(const std::vector<unsigned char>& bytes) {
    std::string text;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        std::array<char, 3> digits{};
        (void)std::snprintf(digits.data(), digits.size(), "%02x", *byte);
        text += digits.data();
    }
    return text;
}

}  // namespace

std::optional<PreparedEntry> prepareEntry(const UpdateFileEntry& entry,
                                          const std::string& filePrefix) {
    const std::string path = filePrefix + entry.fileName;
    const RegularFile file(path);
    if (!file.isOpen()) {
        return std::nullopt;
    }
    const auto version = readBytes(file, positionOf(entry.versionPosition), kVersionLength);
    const auto hardware =
        readBytes(file, positionOf(entry.hardwareInfoPosition), entry.hardwareInfoLength);
    if (!version || !hardware) {
        return std::nullopt;
    }
    PreparedEntry prepared;
    prepared.armType = entry.armType;
    prepared.armName = entry.armName;
    prepared.fileName = entry.fileName;
    prepared.filePath = path;
    prepared.fileVersion = versionText(*version);
    prepared.fileHardware = hardwareText(*hardware);
    prepared.hardwareInfoMask = entry.hardwareInfoMask;
    prepared.ForceUpdate = entry.ForceUpdate;
    prepared.HigherVersion = entry.HigherVersion;
    return prepared;
}
