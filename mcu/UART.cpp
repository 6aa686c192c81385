#include "mcu/UART.h"

#include <sys/ioctl.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>

#include "mcu/SerialTerminal.h"

namespace {

constexpr int kReadRounds = 2;
constexpr suseconds_t kShortWaitMicroseconds = 500000;
constexpr useconds_t kLineStatusPeriodMicroseconds = 1000;

timeval waitOf(int timeoutSeconds) {
    timeval wait{};
    if (timeoutSeconds == 0) {
        wait.tv_usec = kShortWaitMicroseconds;
    } else {
        wait.tv_sec = timeoutSeconds;
    }
    return wait;
}

// As select for one descriptor to read from; leaves in `wait` what is left of it.
int waitReadable(int fd, timeval* wait) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    return ::select(fd + 1, &readable, nullptr, nullptr, wait);
}

}  // namespace

bool UART::open(const std::string& path) {
    m_strDeviceName = path;
    return open();
}

bool UART::open() {
    return openSerialPort(m_strDeviceName.c_str(), OutputMode::Raw, m_fd);
}

void UART::close() {
    closeSerialPort(m_fd);
}

bool UART::setup(int baudrate, int databits, int stopbits, int parity) {
    return setBaudrate(baudrate) && setDatabits(databits) && setStopbits(stopbits) &&
           setParity(parity);
}

bool UART::setBaudrate(int rate) {
    return SerialTerminal(m_fd).setBaudrate(rate, m_nBaudrate);
}

bool UART::setDatabits(int bits) {
    return SerialTerminal(m_fd).setDatabits(bits, m_nDatabits);
}

bool UART::setStopbits(int value) {
    return SerialTerminal(m_fd).setStopbits(value, m_nStopbits);
}

bool UART::setParity(int value) {
    return SerialTerminal(m_fd).setParity(value, m_nParity);
}

int UART::read(unsigned char* buffer, int length, int timeoutSeconds) {
    if (length < 1) {
        return 0;
    }
    if (!isSelectable()) {
        return -1;
    }
    timeval wait = waitOf(timeoutSeconds);
    int count = 0;
    for (int round = 1; round <= kReadRounds && count < length; ++round) {
        const int ready = waitReadable(m_fd, timeoutSeconds < 0 ? nullptr : &wait);
        if (ready < 0) {
            return ready;
        }
        if (ready == 0) {
            break;
        }
        const auto rest = static_cast<std::size_t>(length - count);
        const auto got = static_cast<int>(::read(m_fd, buffer + count, rest));
        if (got < 0) {
            return got;
        }
        count += got;
        if (got == 0 || timeoutSeconds == 0) {
            break;
        }
    }
    return count;
}

int UART::write(const unsigned char* buffer, int length) {
    int count = 0;
    while (count < length) {
        const auto rest = static_cast<std::size_t>(length - count);
        const auto written = static_cast<int>(::write(m_fd, buffer + count, rest));
        if (written < 1) {
            break;
        }
        count += written;
    }
    (void)::fsync(m_fd);  // most serial drivers know no such thing; the line status decides
    return waitUntilSent() ? count : -1;
}

void UART::dumpAttr() {
    termios settings{};
    (void)tcgetattr(m_fd, &settings);  // zeros tell of a line that cannot be asked
    (void)std::printf("getattr,c_iflag=0x%x,c_oflag=0x%x,c_cflag=0x%x,c_lflag=0x%x\n",
                      settings.c_iflag, settings.c_oflag, settings.c_cflag, settings.c_lflag);
}

bool UART::isSelectable() const {
    return m_fd >= 0 && m_fd < FD_SETSIZE;
}

bool UART::waitUntilSent() {
    for (;;) {
        int status = 0;
        if (::ioctl(m_fd, TIOCSERGETLSR, &status) != 0) {
            return false;
        }
        if ((status & TIOCSER_TEMT) != 0) {
            return true;
        }
        (void)::usleep(kLineStatusPeriodMicroseconds);  // cut short at worst: asked again sooner
    }
}
