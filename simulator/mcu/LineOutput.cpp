#include "simulator/mcu/LineOutput.h"

#include <algorithm>

void LineOutput::add(Outgoing outgoing) {
    const Time when = outgoing.notBefore;
    m_delayed.emplace(when, std::move(outgoing));
}

void LineOutput::send(Time now, const std::function<void(const Outgoing&)>& onWhole) {
    while (!m_delayed.empty() && m_delayed.begin()->first <= now) {
        m_ready.push_back(std::move(m_delayed.begin()->second));
        m_delayed.erase(m_delayed.begin());
    }
    while (!m_ready.empty() && sendFirst(now, onWhole)) {
        m_ready.pop_front();
        m_sent = 0;
    }
    if (m_ready.empty()) {
        m_pacer.idle();
    }
}

// Whether the first ready thing is sent whole.
bool LineOutput::sendFirst(Time now, const std::function<void(const Outgoing&)>& onWhole) {
    m_pacer.begin(now);
    const Outgoing& first = m_ready.front();
    const std::size_t left = first.bytes.size() - m_sent;
    const std::size_t count = std::min(m_pacer.available(now), left);
    if (count == left) {
        onWhole(first);
    }
    m_endpoint.write(first.bytes.data() + m_sent, count);
    m_pacer.take(count);
    m_sent += count;
    return count == left;
}

Time LineOutput::nextDeadline() const {
    if (!m_ready.empty()) {
        return m_pacer.nextByte();
    }
    return m_delayed.empty() ? kNever : m_delayed.begin()->first;
}
