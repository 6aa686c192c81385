#include "mcu/XmodemSender.h"

#include <unistd.h>

#include "mcu/SerialTerminal.h"
#include "mcu/XmodemTransfer.h"

XmodemSender::~XmodemSender() {
    close();
}

bool XmodemSender::open(const std::string& path) {
    return openSerialPort(path.c_str(), OutputMode::Processed, m_fd);
}

void XmodemSender::close() {
    closeSerialPort(m_fd);
}

bool XmodemSender::setBaudrate(int rate) {
    return SerialTerminal(m_fd).setBaudrate(rate, m_nBaudrate);
}

bool XmodemSender::setDatabits(int bits) {
    return SerialTerminal(m_fd).setDatabits(bits, m_nDatabits);
}

bool XmodemSender::setStopbits(int value) {
    return SerialTerminal(m_fd).setStopbits(value, m_nStopbits);
}

bool XmodemSender::setParity(int value) {
    return SerialTerminal(m_fd).setParity(value, m_nParity);
}

void XmodemSender::setTimeout(int seconds) {
    m_nTimeout = seconds;
}

int XmodemSender::flushInput() {
    ssize_t result = 0;
    do {
        unsigned char discarded = 0;
        result = ::read(m_fd, &discarded, 1);
    } while (result > 0);
    return static_cast<int>(result);
}

std::uint16_t XmodemSender::calcCRC16(const unsigned char* data, unsigned short length) {
    constexpr unsigned kPolynomial = 0x1021;
    constexpr unsigned kTopBit = 0x8000;
    unsigned crc = 0;
    for (unsigned i = 0; i < length; ++i) {
        crc ^= static_cast<unsigned>(data[i]) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & kTopBit) != 0 ? (crc << 1) ^ kPolynomial : crc << 1;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

int XmodemSender::sendFile(const char* path) {
    XmodemTransfer transfer(*this, m_fd, m_nTimeout);
    return transfer.run(path);
}
