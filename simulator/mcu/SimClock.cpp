#include "simulator/mcu/SimClock.h"

#include <algorithm>

namespace {

using FractionalTime = std::chrono::duration<double, std::nano>;

}  // namespace

SimClock::SimClock(double scale) : m_scale(scale), m_start(std::chrono::steady_clock::now()) {}

Time SimClock::now() const {
    return fromReal(std::chrono::steady_clock::now() - m_start);
}

Time SimClock::fromReal(std::chrono::nanoseconds real) const {
    return std::chrono::duration_cast<Time>(FractionalTime(real) * m_scale);
}

std::chrono::nanoseconds SimClock::realUntil(Time moment) const {
    const Time left = std::max(Time(0), moment - now());
    return std::chrono::duration_cast<std::chrono::nanoseconds>(FractionalTime(left) / m_scale);
}
