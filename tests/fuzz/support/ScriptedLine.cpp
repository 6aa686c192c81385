#include "tests/fuzz/support/ScriptedLine.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr char kAcknowledgement = 0x06;
constexpr long long kReadTimeoutSeconds = 3;
constexpr std::time_t kClockStepSeconds = std::time_t{2} * 3600;
constexpr long long kMicrosecondsPerSecond = 1000000;

int failed(unsigned char fault) {
    errno = fault == line_fault::kInterrupted ? EINTR : EIO;
    return -1;
}

bool isFailure(unsigned char fault) {
    return fault == line_fault::kInterrupted || fault == line_fault::kDead;
}

}  // namespace

unsigned char ScriptedLine::nextFault() {
    const std::size_t at = m_calls++;
    return at < m_script.faults.size() ? static_cast<unsigned char>(m_script.faults[at]) : '\0';
}

bool ScriptedLine::isSettingRefused() {
    ++m_settingCalls;
    return m_settingCalls == m_script.failingSetting;
}

bool ScriptedLine::hasReply() const {
    return m_taken < m_script.replies.size() || m_acknowledged < m_script.acknowledgements;
}

bool ScriptedLine::nextReply(char& reply) {
    if (m_taken < m_script.replies.size()) {
        reply = m_script.replies[m_taken++];
        return true;
    }
    if (m_acknowledged < m_script.acknowledgements) {
        ++m_acknowledged;
        reply = kAcknowledgement;
        return true;
    }
    return false;
}

ssize_t ScriptedLine::silence(ssize_t result) {
    m_events.push_back({Event::Kind::Silence, "", result < 0 ? -errno : 0});
    return result;
}

// Only devices are opened without a further flag. Somewhere in the system the line is an open file,
// so that its number is nobody else's.
int ScriptedLine::open(const char* path, int flags, mode_t mode) {
    if (flags != O_RDWR) {
        return SystemCalls::open(path, flags, mode);
    }
    const bool isGone = m_script.leaves && m_calls > 0 && !hasReply();
    if (isGone || std::strcmp(path, kPath) != 0) {
        errno = ENOENT;
        return -1;
    }
    m_fd = SystemCalls::open("/dev/null", O_RDWR | O_CLOEXEC, 0);
    return m_fd;
}

int ScriptedLine::close(int fd) {
    if (isLine(fd)) {
        m_fd = -1;
    }
    return SystemCalls::close(fd);
}

ssize_t ScriptedLine::read(int fd, void* buffer, std::size_t size) {
    if (!isLine(fd)) {
        return SystemCalls::read(fd, buffer, size);
    }
    const unsigned char fault = nextFault();
    if (isFailure(fault)) {
        return silence(failed(fault));
    }
    setClock(fault);
    std::string got;
    for (char reply = 0; fault != line_fault::kNothing && got.size() < size && nextReply(reply);) {
        got += reply;
    }
    if (got.empty()) {
        pass(kReadTimeoutSeconds, 0);
        return silence(0);
    }
    std::memcpy(buffer, got.data(), got.size());
    const auto count = static_cast<ssize_t>(got.size());
    m_events.push_back({Event::Kind::Received, std::move(got), count});
    return count;
}

ssize_t ScriptedLine::write(int fd, const void* buffer, std::size_t size) {
    if (!isLine(fd)) {
        return SystemCalls::write(fd, buffer, size);
    }
    const unsigned char fault = nextFault();
    auto result = static_cast<ssize_t>(size);
    if (isFailure(fault)) {
        result = failed(fault);
    } else if (fault == line_fault::kNothing) {
        result = 0;
    } else if (fault == line_fault::kShort) {
        result = static_cast<ssize_t>(size / 2);
    }
    m_events.push_back({Event::Kind::Written, std::string(static_cast<const char*>(buffer), size),
                        result < 0 ? -errno : result});
    return result;
}

int ScriptedLine::select(int count, fd_set* reads, timeval* wait) {
    if (m_fd == -1 || m_fd >= count || !FD_ISSET(m_fd, reads)) {
        return SystemCalls::select(count, reads, wait);
    }
    const unsigned char fault = nextFault();
    if (isFailure(fault)) {
        return failed(fault);
    }
    if (fault != line_fault::kNothing && hasReply()) {
        return 1;
    }
    if (wait == nullptr) {
        // Nobody waits for ever here: a signal ends it.
        return failed(line_fault::kInterrupted);
    }
    pass(wait->tv_sec, wait->tv_usec);
    return 0;
}

void ScriptedLine::sleep(const timeval& length) {
    pass(length.tv_sec, length.tv_usec);
}

void ScriptedLine::pass(long long seconds, long long microseconds) {
    m_microseconds += seconds * kMicrosecondsPerSecond + microseconds;
}

void ScriptedLine::setClock(unsigned char fault) {
    if (fault == line_fault::kClockBack) {
        m_wallBegin -= kClockStepSeconds;
    } else if (fault == line_fault::kClockForward) {
        m_wallBegin += kClockStepSeconds;
    }
}

std::time_t ScriptedLine::time() {
    return m_wallBegin + static_cast<std::time_t>(m_microseconds / kMicrosecondsPerSecond);
}

std::clock_t ScriptedLine::ticks() {
    return static_cast<std::clock_t>(m_microseconds * sysconf(_SC_CLK_TCK) /
                                     kMicrosecondsPerSecond);
}

int ScriptedLine::ioctl(int fd, unsigned long request, void* argument) {
    if (!isLine(fd) || request != TIOCSERGETLSR) {
        return SystemCalls::ioctl(fd, request, argument);
    }
    const unsigned char fault = nextFault();
    if (isFailure(fault)) {
        return failed(fault);
    }
    const int status = fault == line_fault::kNothing ? 0 : TIOCSER_TEMT;
    std::memcpy(argument, &status, sizeof status);
    return 0;
}

int ScriptedLine::fsync(int fd) {
    return isLine(fd) ? 0 : SystemCalls::fsync(fd);
}

int ScriptedLine::tcgetattr(int fd, termios* settings) {
    if (!isLine(fd)) {
        return SystemCalls::tcgetattr(fd, settings);
    }
    if (isSettingRefused()) {
        return failed(line_fault::kDead);
    }
    *settings = m_settings;
    return 0;
}

int ScriptedLine::tcsetattr(int fd, int when, const termios* settings) {
    if (!isLine(fd)) {
        return SystemCalls::tcsetattr(fd, when, settings);
    }
    if (isSettingRefused()) {
        return failed(line_fault::kDead);
    }
    m_settings = *settings;
    return 0;
}

int ScriptedLine::tcflush(int fd, int queue) {
    return isLine(fd) ? 0 : SystemCalls::tcflush(fd, queue);
}
