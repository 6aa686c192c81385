#pragma once

#include <cstdint>
#include <string>

// A serial port. The caller makes sure that one thread at a time uses it.
//
// The destructor leaves the descriptor open: the owner calls close(). A failed set-up leaves it
// open as well. Unless stated, a truth value says whether the operation succeeded; a setter stores
// its value only then. Failures are reported on standard error, except where the setters of
// SerialTerminal are silent.
class UART {
  public:
    UART() = default;
    virtual ~UART() = default;
    UART(const UART&) = delete;
    UART& operator=(const UART&) = delete;

    // Opens the device at `path` and makes its line raw, discarding what it holds. A port that is
    // open is closed first. The path is kept for open().
    bool open(const std::string& path);
    // Opens the device that was opened last.
    bool open();
    // Harmless when not open.
    void close();

    // Applies all four in this order; the first that fails ends it. Values as in SerialTerminal.
    bool setup(int baudrate, int databits, int stopbits, int parity);
    bool setBaudrate(int rate);
    bool setDatabits(int bits);
    bool setStopbits(int value);
    bool setParity(int value);

    // Reads up to `length` bytes, in at most two rounds that share one wait of `timeoutSeconds`: a
    // negative number waits without end, 0 waits half a second and reads once only. Returns how
    // many bytes were read, 0 when none came in time, or the negative result of the system call
    // that failed.
    int read(unsigned char* buffer, int length, int timeoutSeconds);

    // Writes and waits until the transmitter is empty. Returns how many bytes went out; -1 when the
    // device cannot tell whether its transmitter is empty, even if all bytes went out.
    int write(const unsigned char* buffer, int length);

    // Prints the line's flag words to standard output.
    void dumpAttr();

  private:
    bool isSelectable() const;
    bool waitUntilSent();

    std::string m_strDeviceName;
    std::int32_t m_nBaudrate = 9600;
    std::int32_t m_nDatabits = 7;
    std::int32_t m_nStopbits = 0;
    std::int32_t m_nParity = 0;
    int m_fd = -1;
};
