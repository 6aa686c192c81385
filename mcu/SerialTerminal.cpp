#include "mcu/SerialTerminal.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>

#include "technic/CancelGuard.h"

namespace {

constexpr tcflag_t kOutputConversions = OLCUC | ONLCR | OCRNL | ONOCR | ONLRET;  // 0x3E
constexpr tcflag_t kOutputFlags = OPOST | kOutputConversions;                    // 0x3F
constexpr tcflag_t kReceiverFlags = CLOCAL | HUPCL | CREAD;                      // 0xC80
constexpr tcflag_t kLineEditing = ISIG | ICANON | ECHO | ECHOE;                  // 0x1B
constexpr cc_t kReadTimeoutTenths = 30;

struct Speed {
    int rate;
    speed_t constant;
};
constexpr Speed kSpeeds[] = {
    {115200, B115200}, {57600, B57600}, {38400, B38400}, {19200, B19200}, {9600, B9600},
    {4800, B4800},     {2400, B2400},   {1200, B1200},   {300, B300},
};

struct CharacterSize {
    int bits;
    tcflag_t constant;
};
constexpr CharacterSize kCharacterSizes[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};

bool readSettings(int fd, termios& settings) {
    if (tcgetattr(fd, &settings) != 0) {
        std::perror("SetupSerial 1");
        return false;
    }
    return true;
}

bool apply(int fd, const termios& settings, int value, std::int32_t& stored) {
    (void)tcflush(fd, TCIFLUSH);  // where it fails, so does the next call
    if (tcsetattr(fd, TCSANOW, &settings) != 0) {
        std::perror("SetupSerial 3");
        return false;
    }
    stored = value;
    return true;
}

void setCheckedParity(termios& settings) {
    settings.c_cflag |= PARENB;
    settings.c_iflag |= INPCK | PARMRK;
    settings.c_iflag &= ~static_cast<tcflag_t>(IGNPAR);
}

bool chooseParity(termios& settings, int value) {
    switch (value) {
        case 0:
            settings.c_cflag &= ~static_cast<tcflag_t>(PARENB);
            settings.c_iflag &= ~static_cast<tcflag_t>(INPCK);
            return true;
        case 1:
            setCheckedParity(settings);
            settings.c_cflag |= PARODD;
            return true;
        case 2:
            setCheckedParity(settings);
            settings.c_cflag &= ~static_cast<tcflag_t>(PARODD);
            return true;
        case 3:
        case 4:
            settings.c_cflag &= ~static_cast<tcflag_t>(PARENB);
            return true;
        default:
            return false;
    }
}

}  // namespace

bool SerialTerminal::makeRaw(OutputMode mode) {
    termios settings{};
    if (tcgetattr(m_fd, &settings) != 0) {
        std::perror("getattr error");
        return false;
    }
    (void)tcflush(m_fd, TCIOFLUSH);  // where it fails, so does the last call
    settings.c_iflag = 0;
    settings.c_oflag &= ~kOutputFlags;
    if (mode == OutputMode::Processed) {
        settings.c_oflag |= OPOST;
    }
    settings.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
    settings.c_cflag |= kReceiverFlags;
    settings.c_lflag &= ~kLineEditing;
    settings.c_cc[VTIME] = kReadTimeoutTenths;
    settings.c_cc[VMIN] = 0;
    (void)tcflush(m_fd, TCIOFLUSH);
    if (tcsetattr(m_fd, TCSANOW, &settings) != 0) {
        std::perror("setattr error");
        return false;
    }
    return true;
}

bool SerialTerminal::setBaudrate(int rate, std::int32_t& stored) {
    termios settings{};
    (void)tcgetattr(m_fd, &settings);  // where it fails, so does tcsetattr
    for (const Speed& speed : kSpeeds) {
        if (speed.rate != rate) {
            continue;
        }
        (void)tcflush(m_fd, TCIOFLUSH);
        (void)cfsetispeed(&settings, speed.constant);  // every row holds a valid speed
        (void)cfsetospeed(&settings, speed.constant);
        (void)tcflush(m_fd, TCIOFLUSH);
        if (tcsetattr(m_fd, TCSANOW, &settings) != 0) {
            std::perror("tcsetattr fd1");
            return false;
        }
        (void)tcflush(m_fd, TCIOFLUSH);
        break;
    }
    stored = rate;
    return true;
}

bool SerialTerminal::setDatabits(int bits, std::int32_t& stored) {
    termios settings{};
    if (!readSettings(m_fd, settings)) {
        return false;
    }
    for (const CharacterSize& size : kCharacterSizes) {
        if (size.bits == bits) {
            settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE);
            settings.c_cflag |= size.constant;
            return apply(m_fd, settings, bits, stored);
        }
    }
    return false;
}

bool SerialTerminal::setStopbits(int value, std::int32_t& stored) {
    termios settings{};
    if (!readSettings(m_fd, settings)) {
        return false;
    }
    switch (value) {
        case 0:
            settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
            break;
        case 1:  // kept: one stop bit is written as 0, and a configured 1 is refused
            return false;
        case 2:
            settings.c_cflag |= CSTOPB;
            break;
        default:
            (void)std::fprintf(stderr, "Unsupported stop bits(%d)\n", value);
            return false;
    }
    return apply(m_fd, settings, value, stored);
}

bool SerialTerminal::setParity(int value, std::int32_t& stored) {
    termios settings{};
    if (!readSettings(m_fd, settings)) {
        return false;
    }
    if (!chooseParity(settings, value)) {
        (void)std::fprintf(stderr, "Unsupported parity\n");
        return false;
    }
    return apply(m_fd, settings, value, stored);
}

bool openSerialPort(const char* path, OutputMode mode, int& fd) {
    closeSerialPort(fd);
    // No further flags: the device is opened as it always was, so that a line that is not ready
    // makes the open wait.
    fd = ::open(path, O_RDWR);
    return fd != -1 && SerialTerminal(fd).makeRaw(mode);
}

void closeSerialPort(int& fd) {
    const CancelGuard notCancelled;
    if (fd != -1) {
        (void)::close(fd);  // the descriptor is gone whatever the result
        fd = -1;
    }
}
