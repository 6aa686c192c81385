#include "mcu/WaitClock.h"

#include <cstdlib>

#include "technic/TimeUtil.h"

namespace {

// Clocks that count whole seconds and are read one after the other may be this much apart without
// anybody having set one.
constexpr long long kMostSecondsApart = 2;

}  // namespace

WaitClock::WaitClock() : m_wallBegin(localWallSeconds()), m_ticksBegin(monotonicSeconds()) {}

long long WaitClock::seconds() const {
    const long long byWall = localWallSeconds() - m_wallBegin;
    const long long byTicks = monotonicSeconds() - m_ticksBegin;
    return std::llabs(byWall - byTicks) <= kMostSecondsApart ? byWall : byTicks;
}
