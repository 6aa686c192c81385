#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>

// A named pipe and its reading end, both gone with the object.
class Pipe {
  public:
    explicit Pipe(std::string path) : m_path(std::move(path)) {
        mkfifo(m_path.c_str(), 0600);
        reopen();
    }
    ~Pipe() {
        hangUp();
        unlink(m_path.c_str());
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    const std::string& path() const { return m_path; }

    // The reader goes away; comes back.
    void hangUp() {
        if (m_reader >= 0) {
            close(m_reader);
            m_reader = -1;
        }
    }
    void reopen() { m_reader = open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }

    // Everything that waits in the pipe.
    std::string take() const {
        std::string taken;
        std::array<char, 65536> part{};
        for (ssize_t n = 0; (n = read(m_reader, part.data(), part.size())) > 0;) {
            taken.append(part.data(), static_cast<std::size_t>(n));
        }
        return taken;
    }

    // Puts bytes in by a writer of its own.
    void put(const std::string& bytes) const {
        const int writer = open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        (void)!write(writer, bytes.data(), bytes.size());
        close(writer);
    }

    // Fills the pipe until not one byte more fits.
    void fill() const { put(std::string(capacity(), 'f')); }
    std::size_t capacity() const { return static_cast<std::size_t>(fcntl(m_reader, F_GETPIPE_SZ)); }

  private:
    const std::string m_path;
    int m_reader = -1;
};
