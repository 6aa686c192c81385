#include "simulator/mcu/LineOutput.h"

#include <algorithm>

void LineOutput::add(Outgoing outgoing) {
    const Time when = outgoing.notBefore;
    m_delayed.emplace(when, std::move(outgoing));
}

std::optional<Outgoing> LineOutput::send(Time now) {
    while (!m_delayed.empty() && m_delayed.begin()->first <= now) {
        m_ready.push_back(std::move(m_delayed.begin()->second));
        m_delayed.erase(m_delayed.begin());
    }
    if (m_ready.empty()) {
        m_pacer.idle();
        return std::nullopt;
    }
    m_pacer.begin(now);
    Outgoing& first = m_ready.front();
    const std::size_t count = std::min(m_pacer.available(now), first.bytes.size() - m_sent);
    m_endpoint.write(first.bytes.data() + m_sent, count);
    m_pacer.take(count);
    m_sent += count;
    if (m_sent < first.bytes.size()) {
        return std::nullopt;
    }
    std::optional<Outgoing> whole = std::move(first);
    m_ready.pop_front();
    m_sent = 0;
    return whole;
}

Time LineOutput::nextDeadline() const {
    if (!m_ready.empty()) {
        return m_pacer.nextByte();
    }
    return m_delayed.empty() ? kNever : m_delayed.begin()->first;
}
