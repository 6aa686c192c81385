#include "tests/mcu/PseudoTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <thread>

PseudoTerminal::PseudoTerminal() : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    char name[64] = "";
    if (m_master == -1 || grantpt(m_master) != 0 || unlockpt(m_master) != 0 ||
        ptsname_r(m_master, name, sizeof name) != 0) {
        throw std::runtime_error("no pseudo-terminal");
    }
    m_path = name;
    m_slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
}

PseudoTerminal::~PseudoTerminal() {
    hangUp();
    (void)::close(m_slave);
}

termios PseudoTerminal::settings() const {
    termios settings{};
    (void)tcgetattr(m_slave, &settings);
    return settings;
}

void PseudoTerminal::setSettings(const termios& settings) const {
    (void)tcsetattr(m_slave, TCSANOW, &settings);
}

void PseudoTerminal::setReadTimeout(cc_t tenths) const {
    termios shortened = settings();
    shortened.c_cc[VTIME] = tenths;
    setSettings(shortened);
}

void PseudoTerminal::send(const Bytes& bytes) const {
    if (::write(m_master, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the line does not take the bytes");
    }
    awaitDelivery();
}

Bytes PseudoTerminal::receive(std::size_t count, int milliseconds) const {
    Bytes bytes;
    while (bytes.size() < count) {
        pollfd line{m_master, POLLIN, 0};
        Bytes chunk(std::min<std::size_t>(count - bytes.size(), 4096));
        if (poll(&line, 1, milliseconds) != 1) {
            break;
        }
        const ssize_t got = ::read(m_master, chunk.data(), chunk.size());
        if (got < 1) {
            break;
        }
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + got);
    }
    return bytes;
}

// Bytes reach the port a little after they are written; asking whether any is there waits for them.
void PseudoTerminal::awaitDelivery() const {
    pollfd port{m_slave, POLLIN, 0};
    (void)poll(&port, 1, 0);
}

int PseudoTerminal::unreadByProduct() const {
    awaitDelivery();
    int count = 0;
    (void)ioctl(m_slave, FIONREAD, &count);
    return count;
}

void PseudoTerminal::waitUntilReadByProduct() const {
    while (unreadByProduct() > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void PseudoTerminal::holdOutput() const {
    (void)tcflow(m_slave, TCOOFF);
}

void PseudoTerminal::letOutputGo() const {
    (void)tcflow(m_slave, TCOON);
}

void PseudoTerminal::hangUp() {
    if (m_master != -1) {
        (void)::close(m_master);
        m_master = -1;
    }
}

std::size_t openDescriptorCount() {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}
