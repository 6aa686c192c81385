#include "tests/sandbox/probe/Line.h"

#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <stdexcept>

Line::Line() {
    if (openpty(&m_master, &m_slave, nullptr, nullptr, nullptr) != 0) {
        throw std::runtime_error("there is no pseudo-terminal");
    }
    setWait(1, 0);
}

Line::~Line() {
    (void)close(m_slave);
    (void)close(m_master);
}

void Line::setWait(unsigned char minimum, unsigned char tenths) {
    termios setting{};
    (void)tcgetattr(m_slave, &setting);
    cfmakeraw(&setting);
    setting.c_cc[VMIN] = minimum;
    setting.c_cc[VTIME] = tenths;
    (void)tcsetattr(m_slave, TCSANOW, &setting);
}
