#pragma once

#include <cstdint>

// What the line's driver does with bytes that are written: Raw passes them on unchanged, Processed
// leaves output processing switched on with every conversion of it off.
enum class OutputMode { Raw, Processed };

// The set-up of a serial line, common to every port of the product. A view of a descriptor that the
// caller owns; it is never closed here, also not after a failure. Not thread-safe.
//
// Every operation returns whether it succeeded and then stores the accepted value in `stored`; a
// failure stores nothing. Messages go to standard error.
class SerialTerminal {
  public:
    explicit SerialTerminal(int fd) : m_fd(fd) {}

    // Discards what the line holds in both directions and makes it raw: no flow control, no modem
    // control, no line editing, no echo; a read returns what is there, or 0 after 3 seconds.
    bool makeRaw(OutputMode mode);

    // `rate` in baud. A rate that is not in the table leaves the line as it is, is stored, and
    // succeeds.
    bool setBaudrate(int rate, std::int32_t& stored);
    // 5 to 8; anything else fails without a message.
    bool setDatabits(int bits, std::int32_t& stored);
    // 0 is one stop bit, 2 is two. 1 fails without a message, anything else with one.
    bool setStopbits(int value, std::int32_t& stored);
    // 0 none, 1 odd, 2 even; 3 and 4 switch parity off; anything else fails with a message.
    bool setParity(int value, std::int32_t& stored);

  private:
    const int m_fd;
};

// Opens `path` for reading and writing and makes the line raw. `fd` takes the descriptor, also when
// only the second step failed (the owner closes it), and -1 when the path cannot be opened. A
// descriptor that `fd` held before is closed first.
bool openSerialPort(const char* path, OutputMode mode, int& fd);

// Closes `fd` unless it is -1, and sets it to -1. Never interrupted by a cancellation.
void closeSerialPort(int& fd);
