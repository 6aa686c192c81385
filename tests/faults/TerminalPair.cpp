#include "tests/faults/TerminalPair.h"

#include <fcntl.h>
#include <termios.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

TerminalPair::TerminalPair(fs::path link, fs::path directory)
    : m_link(std::move(link)), m_directory(std::move(directory)) {
    plug();
}

void TerminalPair::plug() {
    FileDescriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    std::array<char, 128> name{};
    if (!master.isOpen() || grantpt(master.get()) != 0 || unlockpt(master.get()) != 0 ||
        ptsname_r(master.get(), name.data(), name.size()) != 0) {
        throw std::runtime_error("there is no pseudo-terminal to be had");
    }
    FileDescriptor slave(open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    termios settings{};
    if (tcgetattr(slave.get(), &settings) != 0) {
        throw std::runtime_error("a pseudo-terminal without settings");
    }
    cfmakeraw(&settings);
    if (tcsetattr(slave.get(), TCSANOW, &settings) != 0) {
        throw std::runtime_error("a pseudo-terminal whose settings cannot be set");
    }
    const fs::path unseen = m_link.string() + ".new";
    fs::remove(unseen);
    fs::create_symlink(m_directory / fs::path(name.data()).filename(), unseen);
    fs::rename(unseen, m_link);
    m_slaves.push_back(std::move(slave));
    m_master = std::move(master);
}

void TerminalPair::unplug() {
    fs::remove(m_link);
    m_master.reset();
}
