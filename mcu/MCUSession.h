#pragma once

#include <cstdint>
#include <string>

#include "mcu/UART.h"
#include "technic/KdMutex.h"

// The line to one MCU: raw bytes out and in, every one of them traced to the update note.
//
// open, close, SendCommand and RecvCommand exclude one another and may be called on any thread; so
// a line that is closed on one thread is not written to by another that is about to send. The
// setters are for the owner while nobody else uses the session; the device and its parameters take
// effect with the next open, the time-out with the next read.
class MCUSession {
  public:
    MCUSession() = default;
    // Closes the port. No other thread may use the session any more.
    ~MCUSession();
    MCUSession(const MCUSession&) = delete;
    MCUSession& operator=(const MCUSession&) = delete;

    void setDeviceName(const std::string& name);
    // The values that UART takes; 0 each until set.
    void setParam(int baudrate, int databits, int stopbits, int parity);
    // How long a read waits, in seconds: 3 until set; 0 is half a second, a negative number for
    // ever.
    void setTimeout(int seconds);

    // Opens the device and applies the parameters. Returns 0, or -1 when the device cannot be
    // opened or a parameter is refused; the port stays open in the latter case.
    int open();
    // Harmless when not open.
    void close();

    // Writes `length` bytes and waits until they are out. Returns how many were written, or -1.
    int SendCommand(const unsigned char* frame, int length);

    // Reads up to `length` bytes. Returns how many came, 0 when none came in time, a negative
    // number on an error. All `length` bytes of the buffer are traced, read or not.
    int RecvCommand(unsigned char* buffer, int length);

  private:
    void traceParameters() const;

    std::string m_strDeviceName;
    std::int32_t m_nBaudrate = 0;
    std::int32_t m_nDatabits = 0;
    std::int32_t m_nStopbits = 0;
    std::int32_t m_nParity = 0;
    std::int32_t m_nTimeout = 3;
    UART m_uart;
    KdMutex m_mutex;
};
