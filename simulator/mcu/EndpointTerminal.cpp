// Pseudo-terminals and serial devices as the line's endpoint.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <termios.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "simulator/mcu/Endpoint.h"

namespace {

struct SpeedRow {
    long baud;
    speed_t speed;
};

constexpr std::array<SpeedRow, 15> kSpeeds{{{300, B300},
                                            {600, B600},
                                            {1200, B1200},
                                            {2400, B2400},
                                            {4800, B4800},
                                            {9600, B9600},
                                            {19200, B19200},
                                            {38400, B38400},
                                            {57600, B57600},
                                            {115200, B115200},
                                            {230400, B230400},
                                            {460800, B460800},
                                            {500000, B500000},
                                            {576000, B576000},
                                            {921600, B921600}}};

constexpr std::array<tcflag_t, 4> kSizes{CS5, CS6, CS7, CS8};

[[noreturn]] void failOn(const std::string& what) {
    throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

[[noreturn]] void badLine(const std::string& line) {
    throw std::runtime_error(fmt::format(
        "line settings \"{}\": expected BAUD,DATABITS,STOPBITS,PARITY such as 115200,8,1,none",
        line));
}

std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, ',');) {
        fields.push_back(field);
    }
    return fields;
}

speed_t speedOf(const std::string& baud, const std::string& line) {
    for (const SpeedRow& row : kSpeeds) {
        if (std::to_string(row.baud) == baud) {
            return row.speed;
        }
    }
    badLine(line);
}

void applyLine(termios& settings, const std::string& line) {
    const std::vector<std::string> fields = fieldsOf(line);
    const bool fourFields = fields.size() == 4 && fields[1].size() == 1;
    if (!fourFields || fields[1] < "5" || fields[1] > "8" ||
        (fields[2] != "1" && fields[2] != "2") ||
        (fields[3] != "none" && fields[3] != "odd" && fields[3] != "even")) {
        badLine(line);
    }
    const speed_t speed = speedOf(fields[0], line);
    (void)cfsetispeed(&settings, speed);  // a row of the table is always a valid speed
    (void)cfsetospeed(&settings, speed);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | PARODD | CRTSCTS);
    settings.c_cflag |= kSizes[static_cast<std::size_t>(fields[1][0] - '5')] | CLOCAL | CREAD;
    settings.c_cflag |= fields[2] == "2" ? static_cast<tcflag_t>(CSTOPB) : 0U;
    if (fields[3] != "none") {
        settings.c_cflag |= PARENB;
        settings.c_cflag |= fields[3] == "odd" ? static_cast<tcflag_t>(PARODD) : 0U;
    }
}

// Bytes pass unchanged and at once. With `line`, its settings too.
void makeRaw(int terminal, const std::string& name, const std::string& line) {
    termios settings{};
    if (tcgetattr(terminal, &settings) != 0) {
        failOn(name);
    }
    cfmakeraw(&settings);
    if (!line.empty()) {
        applyLine(settings, line);
    }
    if (tcsetattr(terminal, TCSANOW, &settings) != 0) {
        failOn(name);
    }
}

// A link of an earlier run is replaced, anything else is left alone.
void placeLink(const std::string& target, const std::string& link) {
    struct stat status {};
    if (lstat(link.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
        (void)unlink(link.c_str());  // symlink() reports it if this failed
    }
    if (symlink(target.c_str(), link.c_str()) != 0) {
        failOn(link);
    }
}

}  // namespace

std::unique_ptr<Endpoint> Endpoint::pseudoTerminal(const std::string& link) {
    std::unique_ptr<Endpoint> endpoint(new Endpoint);
    endpoint->m_io = FileDescriptor(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    const int master = endpoint->m_io.get();
    std::array<char, 128> slave{};
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 ||
        ptsname_r(master, slave.data(), slave.size()) != 0) {
        failOn("pseudo-terminal");
    }
    // Held open, so that the peer may open and close it freely without hanging the line up.
    endpoint->m_keepOpen = FileDescriptor(open(slave.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!endpoint->m_keepOpen.isOpen()) {
        failOn(slave.data());
    }
    makeRaw(endpoint->m_keepOpen.get(), slave.data(), "");
    endpoint->m_address = slave.data();
    if (!link.empty()) {
        placeLink(slave.data(), link);
        endpoint->m_removeAtEnd = link;
        endpoint->m_address = link;
    }
    return endpoint;
}

std::unique_ptr<Endpoint> Endpoint::serialDevice(const std::string& device,
                                                 const std::string& line) {
    std::unique_ptr<Endpoint> endpoint(new Endpoint);
    endpoint->m_io =
        FileDescriptor(open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!endpoint->m_io.isOpen()) {
        failOn(device);
    }
    makeRaw(endpoint->m_io.get(), device, line);
    endpoint->m_address = device;
    return endpoint;
}
