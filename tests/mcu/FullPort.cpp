#include "tests/mcu/FullPort.h"

#include <dlfcn.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace {

std::atomic<FullPort*> present{nullptr};

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

const char* nameOfFlush(int queue) {
    switch (queue) {
        case TCIFLUSH:
            return "flush-input ";
        case TCIOFLUSH:
            return "flush-both ";
        default:
            return "flush-output ";
    }
}

}  // namespace

FullPort::FullPort() {
    present = this;
}

FullPort::~FullPort() {
    present = nullptr;
}

// The functions below stand before the system's own.

extern "C" int tcgetattr(int fd, termios* settings) noexcept {
    static auto* const kNext = next<decltype(tcgetattr)>("tcgetattr");
    const int result = kNext(fd, settings);
    if (FullPort* port = present; port != nullptr) {
        port->calls += "get ";
        if (result == 0) {
            *settings = port->settings;
        }
    }
    return result;
}

extern "C" int tcsetattr(int fd, int when, const termios* settings) noexcept {
    static auto* const kNext = next<decltype(tcsetattr)>("tcsetattr");
    FullPort* port = present;
    if (port == nullptr) {
        return kNext(fd, when, settings);
    }
    port->calls += when == TCSANOW ? "set " : "set-later ";
    if (port->refusesSettings) {
        errno = EIO;
        return -1;
    }
    port->settings = *settings;
    return 0;
}

extern "C" int tcflush(int fd, int queue) noexcept {
    static auto* const kNext = next<decltype(tcflush)>("tcflush");
    if (FullPort* port = present; port != nullptr) {
        port->calls += nameOfFlush(queue);
    }
    return kNext(fd, queue);
}

extern "C" ssize_t write(int fd, const void* buffer, size_t count) {
    static auto* const kNext = next<decltype(write)>("write");
    FullPort* port = present;
    if (port == nullptr) {
        return kNext(fd, buffer, count);
    }
    port->calls += "write ";
    if (port->writeResults.empty()) {
        return kNext(fd, buffer, count);
    }
    const ssize_t result = port->writeResults.front();
    port->writeResults.pop_front();
    if (result < 0) {
        errno = EIO;
        return result;
    }
    return kNext(fd, buffer, std::min(count, static_cast<size_t>(result)));
}

extern "C" int fsync(int fd) {
    static auto* const kNext = next<decltype(fsync)>("fsync");
    if (FullPort* port = present; port != nullptr) {
        port->calls += "sync ";
    }
    return kNext(fd);
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    static auto* const kNext = next<decltype(ioctl)>("ioctl");
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    FullPort* port = present;
    if (port == nullptr || request != TIOCSERGETLSR) {
        return kNext(fd, request, argument);
    }
    port->calls += "status ";
    int& status = *static_cast<int*>(argument);
    status = port->busyAnswers == 0 ? TIOCSER_TEMT : 0;
    port->busyAnswers -= port->busyAnswers == 0 ? 0 : 1;
    return 0;
}

extern "C" int usleep(useconds_t microseconds) {
    static auto* const kNext = next<decltype(usleep)>("usleep");
    FullPort* port = present;
    if (port == nullptr) {
        return kNext(microseconds);
    }
    port->calls += "sleep-" + std::to_string(microseconds) + ' ';
    return 0;
}
