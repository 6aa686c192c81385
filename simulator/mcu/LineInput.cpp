#include "simulator/mcu/LineInput.h"

#include <algorithm>

void LineInput::noteReadable(Time now) {
    m_pacer.begin(now);
    m_waiting = true;
}

void LineInput::read(LineDecoder& decoder, Time now,
                     const std::function<void(const std::uint8_t*, std::size_t)>& onBytes) {
    if (!m_waiting) {
        return;
    }
    const std::size_t most = std::min(m_pacer.available(now), m_chunk.size());
    if (most == 0) {
        return;
    }
    const long count = m_endpoint.read(m_chunk.data(), most);
    if (count < 0) {
        decoder.clear();
    }
    if (count > 0) {
        onBytes(m_chunk.data(), static_cast<std::size_t>(count));
        decoder.push(m_chunk.data(), static_cast<std::size_t>(count), now);
        m_pacer.take(static_cast<std::size_t>(count));
    }
    if (count < static_cast<long>(most)) {
        m_waiting = false;
        m_pacer.idle();
    }
}
