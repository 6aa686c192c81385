#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

// Takes what the process writes to standard output, from construction to text() or destruction.
class StdoutCapture {
  public:
    StdoutCapture() : m_saved(dup(STDOUT_FILENO)), m_file(memfd_create("stdout", MFD_CLOEXEC)) {
        std::fflush(stdout);
        dup2(m_file, STDOUT_FILENO);
    }
    ~StdoutCapture() {
        restore();
        close(m_file);
    }
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;

    // Ends the capture.
    std::string text() {
        restore();
        std::string taken;
        std::array<char, 4096> part{};
        lseek(m_file, 0, SEEK_SET);
        for (ssize_t n = 0; (n = read(m_file, part.data(), part.size())) > 0;) {
            taken.append(part.data(), static_cast<std::size_t>(n));
        }
        return taken;
    }

  private:
    void restore() {
        if (m_saved >= 0) {
            std::fflush(stdout);
            dup2(m_saved, STDOUT_FILENO);
            close(m_saved);
            m_saved = -1;
        }
    }

    int m_saved;
    int m_file;
};
