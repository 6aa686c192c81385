#pragma once

#include <ctime>

// The wall clock of this program while it lives: each look at it finds one second more. One at a
// time.
class TickingClock {
  public:
    TickingClock();
    ~TickingClock();
    TickingClock(const TickingClock&) = delete;
    TickingClock& operator=(const TickingClock&) = delete;

    // Somebody sets the clock back by a hundred seconds before that look.
    void setBackBeforeLook(int look) { m_setBack = look; }

    int looks() const { return m_looks; }

    std::time_t look();

  private:
    int m_looks = 0;
    int m_setBack = 0;
    std::time_t m_now = 1000000000;
};
