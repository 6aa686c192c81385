#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "technic/WholeTransfer.h"

// A regular file opened for reading. Nothing else is opened, so that neither opening nor reading
// ever waits for a peer. Closed with the object. One thread at a time.
class RegularFile {
  public:
    // Not open afterwards when `path` is missing, not readable or not a regular file.
    explicit RegularFile(const std::string& path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
        struct stat status {};
        if (m_fd != -1 && ::fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode)) {
            m_size = status.st_size;
        } else {
            close();
        }
    }
    ~RegularFile() { close(); }
    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;

    bool isOpen() const { return m_fd != -1; }
    // In bytes, when the file was opened; 0 when it is not open.
    std::int64_t size() const { return m_size; }
    // Whether the file held `length` bytes from `position` on when it was opened.
    bool holds(std::int64_t position, std::int64_t length) const {
        return position >= 0 && length >= 0 && length <= m_size && position <= m_size - length;
    }

    // Reads exactly `length` bytes from `position` on. False when the file does not hold as many
    // or a read fails; `buffer` may then be filled in part.
    bool readAt(std::int64_t position, void* buffer, std::size_t length) const {
        return transferWhole(length, [&](std::size_t offset, std::size_t rest) {
            return ::pread(m_fd, static_cast<char*>(buffer) + offset, rest,
                           static_cast<off_t>(position + static_cast<std::int64_t>(offset)));
        });
    }

  private:
    void close() {
        if (m_fd != -1) {
            (void)::close(m_fd);  // nothing was written
            m_fd = -1;
        }
    }

    int m_fd;
    std::int64_t m_size = 0;
};
