#include "mcu/MCUSession.h"

#include <array>
#include <cstdio>

#include "mcu/UpdateNote.h"
#include "technic/SourceLocation.h"

namespace {

void traceSent(const unsigned char* frame, int length) {
    // The trace has nine values whatever the frame's length; 00 stands for what is beyond its end.
    std::array<unsigned char, 9> shown{};
    for (int i = 0; i < length && i < static_cast<int>(shown.size()); ++i) {
        shown[static_cast<std::size_t>(i)] = frame[i];
    }
    std::array<char, 64> text{};
    (void)std::snprintf(
        text.data(), text.size(), "SendCommand : %02x %02x %02x %02x %02x %02x %02x %02x %02x\n",
        shown[0], shown[1], shown[2], shown[3], shown[4], shown[5], shown[6], shown[7], shown[8]);
    UpdateNote::log(text.data());
}

void traceReceived(const unsigned char* buffer, int length) {
    UpdateNote::log("RecvCommand : ");
    for (int i = 0; i < length; ++i) {
        std::array<char, 4> text{};
        (void)std::snprintf(text.data(), text.size(), "%02x ", buffer[i]);
        UpdateNote::log(text.data());
    }
    UpdateNote::log("\n");
}

}  // namespace

MCUSession::~MCUSession() {
    m_uart.close();
}

void MCUSession::setDeviceName(const std::string& name) {
    m_strDeviceName = name;
}

void MCUSession::setParam(int baudrate, int databits, int stopbits, int parity) {
    m_nBaudrate = baudrate;
    m_nDatabits = databits;
    m_nStopbits = stopbits;
    m_nParity = parity;
}

void MCUSession::setTimeout(int seconds) {
    m_nTimeout = seconds;
}

int MCUSession::open() {
    const KdMutexGuard guard(m_mutex, KD_HERE);
    traceParameters();
    const int opened = m_uart.open(m_strDeviceName) ? 1 : 0;
    if (opened <= 0) {
        return opened - 1;
    }
    return m_uart.setup(m_nBaudrate, m_nDatabits, m_nStopbits, m_nParity) ? 0 : -1;
}

void MCUSession::close() {
    const KdMutexGuard guard(m_mutex, KD_HERE);
    m_uart.close();
}

int MCUSession::SendCommand(const unsigned char* frame, int length) {
    const KdMutexGuard guard(m_mutex, KD_HERE);
    traceSent(frame, length);
    return m_uart.write(frame, length);
}

int MCUSession::RecvCommand(unsigned char* buffer, int length) {
    const KdMutexGuard guard(m_mutex, KD_HERE);
    (void)std::printf("timeout : %d s\n", m_nTimeout);
    const int result = m_uart.read(buffer, length, m_nTimeout);
    traceReceived(buffer, length);
    return result;
}

void MCUSession::traceParameters() const {
    constexpr char kFormat[] =
        " m_strDeviceName = %s\n m_nBaudrate = %d\n m_nDatabits = %d\n m_nStopbits = %d\n "
        "m_nParity = %d\n ";
    const auto format = [this, &kFormat](char* text, std::size_t size) {
        return std::snprintf(text, size, kFormat, m_strDeviceName.c_str(), m_nBaudrate, m_nDatabits,
                             m_nStopbits, m_nParity);
    };
    // A device name of any length is traced whole.
    std::string text(static_cast<std::size_t>(format(nullptr, 0)) + 1, '\0');
    (void)format(text.data(), text.size());
    UpdateNote::log(text.c_str());
}
