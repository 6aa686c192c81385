#include "simulator/mcu/XmodemReceiver.h"

#include "simulator/mcu/XmodemBlock.h"

XmodemReceiver::XmodemReceiver(const XmodemSettings& settings, XmodemStatistics& statistics,
                               Time now)
    : m_settings(settings), m_statistics(statistics), m_deadline(now + settings.startDelay) {
    ++m_statistics.transfers;
}

std::optional<std::uint8_t> XmodemReceiver::onBlock(const Bytes& block, Time now) {
    if (isOver()) {
        return std::nullopt;
    }
    m_cans = 0;
    m_silences = 0;
    if (!xmodem::blockIsRight(block)) {
        return refuse(now);
    }
    const std::uint8_t number = block[1];
    if (number == m_lastNumber && !waitsForFirstBlock()) {
        ++m_statistics.blocksRepeated;
        waitForBlock(now);
        return xmodem::kAck;
    }
    if (number != static_cast<std::uint8_t>(m_lastNumber + 1)) {
        return refuse(now);
    }
    const Bytes data = xmodem::blockData(block);
    m_image.insert(m_image.end(), data.begin(), data.end());
    m_lastNumber = number;
    ++m_statistics.blocksAccepted;
    m_phase = Phase::Receiving;
    waitForBlock(now);
    return xmodem::kAck;
}

void XmodemReceiver::onPartOfBlock(Time now) {
    if (!isOver()) {
        waitForBlock(now);
    }
}

std::optional<std::uint8_t> XmodemReceiver::onEot(Time now) {
    if (m_phase == Phase::Aborted) {
        return std::nullopt;
    }
    ++m_statistics.eots;
    if (m_phase == Phase::Complete) {
        // The acknowledgement was lost on its way.
        return xmodem::kAck;
    }
    m_cans = 0;
    m_silences = 0;
    if (m_settings.refuseFirstEot && !m_eotRefused) {
        m_eotRefused = true;
        waitForBlock(now);
        return xmodem::kNak;
    }
    ++m_statistics.completed;
    m_phase = Phase::Complete;
    m_deadline = kNever;
    return xmodem::kAck;
}

void XmodemReceiver::onCan() {
    if (!isOver() && ++m_cans == 2) {
        abort();
    }
}

void XmodemReceiver::abort() {
    if (isOver()) {
        return;
    }
    ++m_statistics.cancelled;
    m_phase = Phase::Aborted;
    m_deadline = kNever;
}

std::optional<std::uint8_t> XmodemReceiver::onTime(Time now) {
    if (isOver() || now < m_deadline) {
        return std::nullopt;
    }
    if (m_phase == Phase::Starting) {
        if (m_startBytesSent == m_settings.startBytes) {
            abort();
            return std::nullopt;
        }
        ++m_startBytesSent;
        ++m_statistics.startBytes;
        m_deadline = now + m_settings.startInterval;
        return xmodem::kStartByte;
    }
    if (m_silences == m_settings.blockTimeouts) {
        abort();
        return std::nullopt;
    }
    ++m_silences;
    m_deadline = now + m_settings.blockTimeout;
    return xmodem::kNak;
}

Time XmodemReceiver::nextDeadline() const {
    return m_deadline;
}

void XmodemReceiver::refuseOne(Time now) {
    m_cans = 0;
    m_silences = 0;
    ++m_statistics.blocksRefused;
    waitForBlock(now);
}

// Before the first block a NAK would ask the sender for another kind of check, so the receiver
// repeats its start byte instead.
std::uint8_t XmodemReceiver::refuse(Time now) {
    refuseOne(now);
    return m_phase == Phase::Starting ? xmodem::kStartByte : xmodem::kNak;
}

void XmodemReceiver::waitForBlock(Time now) {
    m_deadline =
        now + (m_phase == Phase::Starting ? m_settings.startInterval : m_settings.blockTimeout);
}
