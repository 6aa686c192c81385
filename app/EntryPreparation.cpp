#include "app/EntryPreparation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr std::size_t kVersionLength = 3;

// A regular file that is open for reading. Opened without waiting, for a pipe in the file's place
// must not hold the update up.
class FirmwareFile {
  public:
    explicit FirmwareFile(const std::string& path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
        struct stat status {};
        if (m_fd >= 0 && fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode)) {
            m_size = static_cast<long long>(status.st_size);
        }
    }
    ~FirmwareFile() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    FirmwareFile(const FirmwareFile&) = delete;
    FirmwareFile& operator=(const FirmwareFile&) = delete;

    bool isOpen() const { return m_size >= 0; }

    // Exactly `length` bytes from `position` on, or nothing. Asks for memory only after it is clear
    // that the file holds them.
    std::optional<std::vector<unsigned char>> read(long long position, std::size_t length) const {
        if (length == 0) {
            return std::vector<unsigned char>();
        }
        if (position < 0 || position > m_size ||
            length > static_cast<unsigned long long>(m_size - position)) {
            return std::nullopt;
        }
        std::vector<unsigned char> bytes(length);
        std::size_t count = 0;
        while (count < length) {
            const ssize_t got = pread(m_fd, bytes.data() + count, length - count,
                                      static_cast<off_t>(position) + static_cast<off_t>(count));
            if (got <= 0) {
                return std::nullopt;
            }
            count += static_cast<std::size_t>(got);
        }
        return bytes;
    }

  private:
    int m_fd;
    long long m_size = -1;
};

// Hexadecimal with or without a leading 0x; a text that is no number reads as 0.
long positionOf(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 16);
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
    const FirmwareFile file(path);
    if (!file.isOpen()) {
        return std::nullopt;
    }
    const auto version = file.read(positionOf(entry.versionPosition), kVersionLength);
    const std::size_t hardwareLength =
        entry.hardwareInfoLength > 0 ? static_cast<std::size_t>(entry.hardwareInfoLength) : 0;
    const auto hardware = file.read(positionOf(entry.hardwareInfoPosition), hardwareLength);
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
