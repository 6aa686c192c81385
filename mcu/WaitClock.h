#pragma once

// How long something has been waited for. One thread.
class WaitClock {
  public:
    // Begins now.
    WaitClock();

    // Whole seconds since the construction: the wall clock's. When they are not the ticks' seconds,
    // too, somebody has set the clock or the time zone, or the device was suspended; then the
    // ticks' seconds. So a step of the wall clock costs a wait two seconds at most, in either
    // direction.
    long long seconds() const;

  private:
    const long long m_wallBegin;
    const long long m_ticksBegin;
};
