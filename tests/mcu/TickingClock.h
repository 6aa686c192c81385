#pragma once

#include <sys/types.h>

#include <ctime>

// The clocks of this program while it lives: each look at the wall clock finds one second more, and
// the ticks go with it. One at a time.
class TickingClock {
  public:
    TickingClock();
    ~TickingClock();
    TickingClock(const TickingClock&) = delete;
    TickingClock& operator=(const TickingClock&) = delete;

    // Somebody sets the wall clock by so many seconds, on or back, before that look.
    void setBeforeLook(int look, std::time_t seconds) {
        m_setLook = look;
        m_setBy = seconds;
    }

    int looks() const { return m_looks; }

    std::time_t look();
    clock_t ticks() const;

  private:
    const clock_t m_firstTicks;
    int m_looks = 0;
    int m_setLook = 0;
    std::time_t m_setBy = 0;
    std::time_t m_now = 1000000000;
};
