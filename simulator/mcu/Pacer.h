#pragma once

#include <cstddef>

#include "simulator/mcu/SimClock.h"

// Says how many bytes may cross the line so far in one direction, at ten bits a byte.
class Pacer {
  public:
    // byteTime: how long one byte takes; 0 for a line that takes no time.
    explicit Pacer(Time byteTime);

    // Bytes are waiting from this moment on; a line that was idle begins with the first of them.
    void begin(Time now);
    // How many bytes may have crossed by now and have not been taken.
    std::size_t available(Time now) const;
    // So many of the available bytes have been moved.
    void take(std::size_t count);
    // No byte waits any more.
    void idle() { m_busy = false; }
    // The next moment at which more bytes are available; the present one when the line takes no
    // time.
    Time nextByte() const { return m_reached + m_byteTime; }

  private:
    Time m_byteTime;
    Time m_reached{0};  // when the last byte that was moved had crossed
    bool m_busy = false;
};
