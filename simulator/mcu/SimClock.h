#pragma once

#include <chrono>

// A moment or a span of the simulated MCU's own time. The moment 0 is the start of the program.
using Time = std::chrono::nanoseconds;

constexpr Time kNever = Time::max();

// The monotonic clock of the simulated MCUs. With a time scale of N it runs N times as fast as the
// real one, so that every time-out, delay and period shrinks by N.
class SimClock {
  public:
    // scale: above 0.
    explicit SimClock(double scale);

    Time now() const;
    // The simulated span that passes during a real one, for what happens at the line's own speed.
    Time fromReal(std::chrono::nanoseconds real) const;
    // The real span that passes until the moment; 0 when it has passed already.
    std::chrono::nanoseconds realUntil(Time moment) const;

  private:
    double m_scale;
    std::chrono::steady_clock::time_point m_start;
};
