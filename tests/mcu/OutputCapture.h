#pragma once

#include <string>

// Takes what is written to a standard descriptor (1 or 2) from construction to destruction.
class OutputCapture {
  public:
    explicit OutputCapture(int standardFd);
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    // Everything written so far.
    std::string text() const;

  private:
    const int m_standardFd;
    const int m_originalFd;
    const int m_captureFd;
};
