#pragma once

#include <cstdint>
#include <string>

// Sends a file to a boot loader by XMODEM-1K with CRC-16, over a port of its own. What happens is
// traced to the update note. One thread at a time.
class XmodemSender {
  public:
    XmodemSender() = default;
    // Closes the port.
    ~XmodemSender();
    XmodemSender(const XmodemSender&) = delete;
    XmodemSender& operator=(const XmodemSender&) = delete;

    // As the operations of UART, but for one thing: the line keeps output processing switched on,
    // with every conversion of it off.
    bool open(const std::string& path);
    void close();
    bool setBaudrate(int rate);
    bool setDatabits(int bits);
    bool setStopbits(int value);
    bool setParity(int value);

    // How long the receiver may take for one reply, in seconds: 15 until set. A wait ends with the
    // first read of 3 seconds that finds this time exceeded.
    void setTimeout(int seconds);

    // Discards what the line holds until it is silent for one read; the last read's result, 0 or
    // negative. A line that never falls silent keeps it going.
    int flushInput();

    // CRC-16/XMODEM. `length` 0 gives 0.
    static std::uint16_t calcCRC16(const unsigned char* data, unsigned short length);

    // Sends the file at `path`, whole. The port stays open in every case. Returns
    //    0  sent, and the end of transmission acknowledged
    //   -1  the file cannot be opened; or it cannot be read on, and the transfer was aborted
    //   -2  no reply in time; aborted, but not when it was the start that did not come
    //   -3  the receiver cancelled
    //   -4  more than eleven repeats of one block asked for; aborted
    //   -5  a block answered with an unknown byte; aborted
    // A receiver that answers the end of transmission with anything but ACK is told it again, for
    // ever. Aborting is sending CAN four times.
    int sendFile(const char* path);

  private:
    std::int32_t m_nBaudrate = 9600;
    std::int32_t m_nDatabits = 8;
    std::int32_t m_nStopbits = 0;
    std::int32_t m_nParity = 0;
    int m_fd = -1;
    std::int32_t m_nTimeout = 15;
};
