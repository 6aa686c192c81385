#include "tests/target/guest/KernelSettings.h"

// The C library's terminal interface shows no speeds; this one and <termios.h> exclude each other.
#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <ostream>
#include <system_error>
#include <tuple>

namespace {

auto allOf(const KernelSettings& settings) {
    return std::tie(settings.input, settings.output, settings.control, settings.local,
                    settings.discipline, settings.characters, settings.inputSpeed,
                    settings.outputSpeed);
}

termios2 askKernel(int fd) {
    termios2 asked{};
    if (ioctl(fd, TCGETS2, &asked) != 0) {
        throw std::system_error(errno, std::generic_category(), "TCGETS2");
    }
    return asked;
}

}  // namespace

bool operator==(const KernelSettings& one, const KernelSettings& other) {
    return allOf(one) == allOf(other);
}

std::ostream& operator<<(std::ostream& out, const KernelSettings& settings) {
    out << std::hex << "input 0x" << settings.input << " output 0x" << settings.output
        << " control 0x" << settings.control << " local 0x" << settings.local << " characters";
    for (const unsigned character : settings.characters) {
        out << ' ' << character;
    }
    return out << std::dec << " speeds " << settings.inputSpeed << '/' << settings.outputSpeed;
}

KernelSettings kernelSettings(int fd) {
    const termios2 asked = askKernel(fd);
    KernelSettings settings;
    settings.input = asked.c_iflag;
    settings.output = asked.c_oflag;
    settings.control = asked.c_cflag;
    settings.local = asked.c_lflag;
    settings.discipline = asked.c_line;
    std::copy_n(asked.c_cc, settings.characters.size(), settings.characters.begin());
    settings.inputSpeed = asked.c_ispeed;
    settings.outputSpeed = asked.c_ospeed;
    return settings;
}

void setKernelSettings(int fd, const KernelSettings& settings) {
    termios2 wanted = askKernel(fd);
    wanted.c_iflag = settings.input;
    wanted.c_oflag = settings.output;
    wanted.c_cflag = settings.control;
    wanted.c_lflag = settings.local;
    std::copy_n(settings.characters.begin(), settings.characters.size(), wanted.c_cc);
    if (ioctl(fd, TCSETS2, &wanted) != 0) {
        throw std::system_error(errno, std::generic_category(), "TCSETS2");
    }
}
