#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/fuzz/support/SystemCalls.h"

// What the other end of a serial line does.
struct LineScript {
    // One byte for each call on the line, of those that wait, read, write or ask for its state. A
    // byte that is none of the faults below, or none for such a call, lets it do what it should; so
    // it does when there are no more bytes.
    std::string faults;
    // The bytes that come out of the line.
    std::string replies;
    // So many acknowledgements follow them.
    unsigned acknowledgements = 0;
    // Which of the calls fails that read or change the settings, counted from 1; 0 for none.
    unsigned failingSetting = 0;
    // The line is gone when it is opened again after it has said everything.
    bool leaves = false;
};

namespace line_fault {

constexpr unsigned char kClockBack = 0xF0;     // read: the wall clock is set back by two hours
constexpr unsigned char kClockForward = 0xF1;  // read: it is set forward by as much
constexpr unsigned char kShort = 0xFC;         // write: half of it
constexpr unsigned char kInterrupted = 0xFD;   // any: EINTR
constexpr unsigned char kNothing = 0xFE;  // any: no byte in time; the state tells of bytes unsent
constexpr unsigned char kDead = 0xFF;     // any: EIO

}  // namespace line_fault

// The one serial line of the system, at kPath, with a script at its other end. It takes no time,
// but the clocks tell of the time that it would have taken. Remembers what went over it.
class ScriptedLine : public SystemCalls {
  public:
    static constexpr char kPath[] = "/dev/ttyS1";

    struct Event {
        enum class Kind { Received, Written, Silence };  // Silence: a read that brought nothing
        Kind kind;
        std::string bytes;  // that came, or that were to be written
        ssize_t result;     // of the call; the negative error number when it failed
    };

    explicit ScriptedLine(LineScript script) : m_script(std::move(script)) {}

    const std::vector<Event>& events() const { return m_events; }
    // Calls on the line so far.
    std::size_t calls() const { return m_calls; }

    int open(const char* path, int flags, mode_t mode) override;
    int close(int fd) override;
    ssize_t read(int fd, void* buffer, std::size_t size) override;
    ssize_t write(int fd, const void* buffer, std::size_t size) override;
    int select(int count, fd_set* reads, timeval* wait) override;
    void sleep(const timeval& length) override;
    int ioctl(int fd, unsigned long request, void* argument) override;
    int fsync(int fd) override;
    int tcgetattr(int fd, termios* settings) override;
    int tcsetattr(int fd, int when, const termios* settings) override;
    int tcflush(int fd, int queue) override;
    std::time_t time() override;
    std::clock_t ticks() override;

  private:
    bool isLine(int fd) const { return fd != -1 && fd == m_fd; }
    unsigned char nextFault();
    bool nextReply(char& reply);
    bool hasReply() const;
    bool isSettingRefused();
    ssize_t silence(ssize_t result);
    void setClock(unsigned char fault);
    void pass(long long seconds, long long microseconds);

    LineScript m_script;
    int m_fd = -1;
    std::size_t m_calls = 0;
    unsigned m_settingCalls = 0;
    std::size_t m_taken = 0;
    std::size_t m_acknowledged = 0;
    long long m_microseconds = 0;  // that have passed
    std::time_t m_wallBegin = 1700000000;
    termios m_settings{};
    std::vector<Event> m_events;
};
