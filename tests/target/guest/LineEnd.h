#pragma once

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// The port under test, and the one at the other end of its line.
extern const char kPort[];
extern const char kFarPort[];

// A serial port in the test's own hands, raw at 115200 baud with 8 data bits, no parity and one
// stop bit. It never becomes anybody's terminal.
class LineEnd {
  public:
    // Throws std::system_error when the port cannot be opened.
    explicit LineEnd(std::string path);
    ~LineEnd();
    LineEnd(const LineEnd&) = delete;
    LineEnd& operator=(const LineEnd&) = delete;

    void open();
    void close();
    int fd() const { return m_fd; }

    void send(const Bytes& bytes) const;
    // The next `count` bytes; fewer when the line is silent for `milliseconds`.
    Bytes receive(std::size_t count, int milliseconds = 3000) const;
    // All that comes until the line is silent.
    Bytes receiveAll() const;

    // Bytes that came and were not read; that were written and are not yet on the line.
    int unread() const;
    int unsent() const;
    // Whether the last bit has left the chip.
    bool isTransmitterEmpty() const;
    void discardAll() const;

  private:
    int count(unsigned long request) const;

    const std::string m_path;
    int m_fd = -1;
};

// `count` bytes by which it shows when one is missing, twice there or changed.
Bytes pattern(std::size_t count);
