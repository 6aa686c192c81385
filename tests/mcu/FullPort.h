#pragma once

#include <sys/types.h>
#include <termios.h>

#include <deque>
#include <string>

// While it lives, the terminals of this program have what a pseudo-terminal lacks: every character
// size and a parity, calls that fail, a transmitter that takes its time. It writes down what is
// asked of them. One at a time, and one thread.
class FullPort {
  public:
    FullPort();
    ~FullPort();
    FullPort(const FullPort&) = delete;
    FullPort& operator=(const FullPort&) = delete;

    // What the line is set to; a test may set it, too.
    termios settings{};
    bool refusesSettings = false;
    // What the next writes return: the most bytes that they take, or a failure. Then they take all.
    std::deque<ssize_t> writeResults;
    // How often the transmitter is asked before it is empty.
    int busyAnswers = 0;

    // The calls in their order, each with a blank behind it: get, set, flush-input, flush-both,
    // write, sync, status, sleep-MICROSECONDS.
    std::string calls;
};
