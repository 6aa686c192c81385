#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

// Takes what the process writes to a descriptor, from construction to text() or destruction.
class OutputCapture {
  public:
    explicit OutputCapture(int descriptor)
        : m_descriptor(descriptor),
          m_saved(dup(descriptor)),
          m_file(memfd_create("output", MFD_CLOEXEC)) {
        std::fflush(nullptr);
        dup2(m_file, m_descriptor);
    }
    ~OutputCapture() {
        restore();
        close(m_file);
    }
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

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
            std::fflush(nullptr);
            dup2(m_saved, m_descriptor);
            close(m_saved);
            m_saved = -1;
        }
    }

    const int m_descriptor;
    int m_saved;
    int m_file;
};

class StdoutCapture : public OutputCapture {
  public:
    StdoutCapture() : OutputCapture(STDOUT_FILENO) {}
};

class StderrCapture : public OutputCapture {
  public:
    StderrCapture() : OutputCapture(STDERR_FILENO) {}
};
