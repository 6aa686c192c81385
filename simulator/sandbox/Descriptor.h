#pragma once

#include <unistd.h>

#include <utility>

// Owns a file descriptor; -1 means none.
class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd != -1) {
            (void)close(m_fd);  // nothing is lost that could be told
        }
    }
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_fd; }

  private:
    int m_fd;
};
