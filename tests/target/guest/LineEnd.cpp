#include "tests/target/guest/LineEnd.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

const char kPort[] = "/dev/ttyS0";
const char kFarPort[] = "/dev/ttyS1";

namespace {

constexpr int kSilenceMilliseconds = 200;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

LineEnd::LineEnd(std::string path) : m_path(std::move(path)) {
    open();
}

LineEnd::~LineEnd() {
    close();
}

void LineEnd::open() {
    m_fd = ::open(m_path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (m_fd == -1 || tcgetattr(m_fd, &settings) != 0) {
        fail(m_path);
    }
    cfmakeraw(&settings);
    settings.c_cflag = CS8 | CREAD | HUPCL | CLOCAL;
    (void)cfsetispeed(&settings, B115200);
    (void)cfsetospeed(&settings, B115200);
    if (tcsetattr(m_fd, TCSANOW, &settings) != 0) {
        fail(m_path);
    }
}

void LineEnd::close() {
    if (m_fd != -1) {
        (void)::close(m_fd);
        m_fd = -1;
    }
}

void LineEnd::send(const Bytes& bytes) const {
    if (write(m_fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        fail(m_path);
    }
}

Bytes LineEnd::receive(std::size_t count, int milliseconds) const {
    Bytes bytes(count);
    std::size_t got = 0;
    pollfd polled{m_fd, POLLIN, 0};
    while (got < count && poll(&polled, 1, milliseconds) > 0) {
        const ssize_t result = read(m_fd, bytes.data() + got, count - got);
        if (result < 1) {
            break;
        }
        got += static_cast<std::size_t>(result);
    }
    bytes.resize(got);
    return bytes;
}

Bytes LineEnd::receiveAll() const {
    constexpr std::size_t kMore = 1 << 16;
    return receive(kMore, kSilenceMilliseconds);
}

int LineEnd::unread() const {
    return count(FIONREAD);
}

int LineEnd::unsent() const {
    return count(TIOCOUTQ);
}

bool LineEnd::isTransmitterEmpty() const {
    return (count(TIOCSERGETLSR) & TIOCSER_TEMT) != 0;
}

void LineEnd::discardAll() const {
    (void)tcflush(m_fd, TCIOFLUSH);
}

int LineEnd::count(unsigned long request) const {
    int value = 0;
    if (ioctl(m_fd, request, &value) != 0) {
        fail(m_path);
    }
    return value;
}

Bytes pattern(std::size_t count) {
    constexpr unsigned kValues = 251;
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>(i % kValues);
    }
    return bytes;
}
