#pragma once

#include <termios.h>

#include <cstddef>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// A pseudo-terminal of the test's own: the product opens path() as its serial device, the test is
// the other end of the line.
class PseudoTerminal {
  public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    const std::string& path() const { return m_path; }

    // The line's settings, as the product left them.
    termios settings() const;
    void setSettings(const termios& settings) const;
    // Shortens the port's wait for a byte, so that a silent line does not take 3 seconds.
    void setReadTimeout(cc_t tenths) const;

    void send(const Bytes& bytes) const;
    // The next `count` bytes from the product; fewer when the line is silent for `milliseconds`.
    Bytes receive(std::size_t count, int milliseconds = 5000) const;
    // All that came in and is still unread.
    Bytes received() const { return receive(kAll, 50); }
    // Bytes that were sent and that the product has not read.
    int unreadByProduct() const;
    void waitUntilReadByProduct() const;

    // What the product writes waits on its side until it is let go.
    void holdOutput() const;
    void letOutputGo() const;

    // Cuts the line: the product's port is dead from then on.
    void hangUp();

  private:
    static constexpr std::size_t kAll = static_cast<std::size_t>(-1);

    void awaitDelivery() const;

    int m_master;
    int m_slave = -1;  // keeps the line up while the product has it closed
    std::string m_path;
};

// How many descriptors this process has open.
std::size_t openDescriptorCount();
