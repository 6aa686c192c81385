#pragma once

#include <csignal>

// SIGINT and SIGTERM as a request to stop, for a program of one thread that waits with ppoll. From
// construction on the two signals arrive only while the program waits with waitMask(). One per
// program.
class StopSignals {
  public:
    StopSignals();

    // Lets SIGTERM come, too, when the process that started this one ends.
    void watchParent() const;

    bool isRequested() const;
    // The signal mask to wait with.
    const sigset_t& waitMask() const { return m_waitMask; }

  private:
    sigset_t m_waitMask;
};
