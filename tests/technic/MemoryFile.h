#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <string>

// A file without a name in any folder, gone with the object.
class MemoryFile {
  public:
    explicit MemoryFile(const std::string& content = "")
        : m_fd(memfd_create("memory-file", MFD_CLOEXEC)) {
        m_isWritten =
            write(m_fd, content.data(), content.size()) == static_cast<ssize_t>(content.size());
    }
    ~MemoryFile() { close(m_fd); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int fd() const { return m_fd; }
    bool isWritten() const { return m_isWritten; }
    // A path under which this process can open it.
    std::string path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

    std::string content() const {
        std::array<char, 4096> bytes{};
        const ssize_t n = pread(m_fd, bytes.data(), bytes.size(), 0);
        return n > 0 ? std::string(bytes.data(), static_cast<std::size_t>(n)) : std::string();
    }

  private:
    int m_fd;
    bool m_isWritten = false;
};
