#include "simulator/mcu/Pacer.h"

#include <algorithm>
#include <limits>

Pacer::Pacer(Time byteTime) : m_byteTime(byteTime) {}

void Pacer::begin(Time now) {
    if (!m_busy) {
        m_reached = std::max(m_reached, now);
        m_busy = true;
    }
}

std::size_t Pacer::available(Time now) const {
    if (m_byteTime == Time(0)) {
        return std::numeric_limits<std::size_t>::max();
    }
    return now <= m_reached ? 0 : static_cast<std::size_t>((now - m_reached) / m_byteTime);
}

void Pacer::take(std::size_t count) {
    m_reached += m_byteTime * static_cast<Time::rep>(count);
}
