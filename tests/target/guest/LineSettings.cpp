// Walks through all that a port can be set to and prints a line for each call: the call, its
// result, what it said on standard error, and what the kernel makes of the line then.
//
// After each call the other end of the line switches its RTS off and on again; so an observer of
// the chips can tell what belongs to which call.
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "mcu/UART.h"
#include "mcu/XmodemSender.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/target/guest/KernelSettings.h"
#include "tests/target/guest/LineEnd.h"

namespace {

struct NamedFlag {
    const char* name;
    std::uint32_t flag;
};
constexpr NamedFlag kControlFlags[] = {
    {"CSTOPB", CSTOPB}, {"PARENB", PARENB}, {"PARODD", PARODD}, {"CRTSCTS", CRTSCTS}};
constexpr NamedFlag kInputFlags[] = {
    {"IGNPAR", IGNPAR}, {"INPCK", INPCK}, {"PARMRK", PARMRK}, {"ICRNL", ICRNL}, {"IXON", IXON}};
constexpr NamedFlag kOutputFlags[] = {{"OPOST", OPOST}, {"ONLCR", ONLCR}};
constexpr NamedFlag kLocalFlags[] = {
    {"ISIG", ISIG}, {"ICANON", ICANON}, {"ECHO", ECHO}, {"ECHOE", ECHOE}};

template <std::size_t count>
std::string namesOf(std::uint32_t flags, const NamedFlag (&table)[count]) {
    std::string names;
    for (const NamedFlag& row : table) {
        if ((flags & row.flag) != 0) {
            names += std::string(" ") + row.name;
        }
    }
    return names;
}

std::string textOf(const KernelSettings& settings) {
    const std::uint32_t bits = 5 + (settings.control & CSIZE) / CS6;
    return std::to_string(settings.inputSpeed) + '/' + std::to_string(settings.outputSpeed) +
           " CS" + std::to_string(bits) + namesOf(settings.control, kControlFlags) +
           namesOf(settings.input, kInputFlags) + namesOf(settings.output, kOutputFlags) +
           namesOf(settings.local, kLocalFlags);
}

class Walk {
  public:
    template <class Call>
    void step(const std::string& name, Call call) {
        std::string result;
        std::string message;
        {
            const OutputCapture errors(STDERR_FILENO);
            result = call() ? "true" : "false";
            message = errors.text();
        }
        message.erase(std::remove(message.begin(), message.end(), '\n'), message.end());
        std::printf("%-33s | %-5s | %-25s | %-67s\n", name.c_str(), result.c_str(), message.c_str(),
                    textOf(kernelSettings(m_near.fd())).c_str());
        mark();
    }

    // What comes before the first call is marked off from it.
    void begin() const { mark(); }

    // A line that is set up for a terminal with flow control.
    bool setTerminalLine() const {
        KernelSettings settings = kernelSettings(m_near.fd());
        settings.input = ICRNL | IXON;
        settings.output = OPOST | ONLCR;
        settings.control = B9600 | CS8 | CREAD | CRTSCTS;
        settings.local = ISIG | ICANON | ECHO | ECHOE;
        setKernelSettings(m_near.fd(), settings);
        return true;
    }

  private:
    void mark() const {
        const int rts = TIOCM_RTS;
        (void)ioctl(m_far.fd(), TIOCMBIC, &rts);
        (void)ioctl(m_far.fd(), TIOCMBIS, &rts);
    }

    const LineEnd m_near{kPort};
    const LineEnd m_far{kFarPort};
};

// Orders in which each accepted value differs from the one before it.
template <class Port>
void walkThrough(Walk& walk, Port& port, const std::string& name) {
    const auto steps = [&](const char* setter, bool (Port::*set)(int),
                           const std::vector<int>& values) {
        for (const int value : values) {
            walk.step(name + "::" + setter + '(' + std::to_string(value) + ')',
                      [&] { return (port.*set)(value); });
        }
    };
    walk.step("(a terminal's line)", [&] { return walk.setTerminalLine(); });
    walk.step(name + "::open", [&] { return port.open(kPort); });
    steps("setBaudrate", &Port::setBaudrate,
          {300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200, 14400, 230400});
    steps("setDatabits", &Port::setDatabits, {5, 6, 7, 8, 4, 9});
    steps("setStopbits", &Port::setStopbits, {2, 1, 3, 0, -1});
    steps("setParity", &Port::setParity, {1, 2, 0, 2, 3, 1, 4, 5, -1});
    steps("setDatabits", &Port::setDatabits, {5});
    steps("setStopbits", &Port::setStopbits, {2});
    port.close();
}

}  // namespace

int main() {
    Walk walk;
    walk.begin();
    UART uart;
    walkThrough(walk, uart, "UART");
    XmodemSender sender;
    walkThrough(walk, sender, "XmodemSender");
    return 0;
}
