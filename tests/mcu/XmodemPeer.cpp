#include "tests/mcu/XmodemPeer.h"

#include <chrono>
#include <utility>

#include "tests/mcu/XmodemBytes.h"

namespace {

constexpr int kPollMilliseconds = 20;
// Longer than the flush before a transfer, which discards a start request that comes too early.
constexpr std::chrono::milliseconds kBeforeStart{300};
constexpr std::chrono::seconds kBetweenStarts{3};

}  // namespace

XmodemPeer::XmodemPeer(PseudoTerminal& line, Bytes replies, unsigned char start, AfterReplies after)
    : m_line(line), m_replies(std::move(replies)), m_start(start), m_after(after), m_thread([this] {
          run();
      }) {}

XmodemPeer::~XmodemPeer() {
    (void)stop();
}

Bytes XmodemPeer::stop() {
    if (m_thread.joinable()) {
        m_stopped = true;
        m_thread.join();
    }
    return m_wire;
}

void XmodemPeer::run() {
    bool more = awaitTransfer();
    for (const unsigned char reply : m_replies) {
        if (!more || !receiveRestOfUnit()) {
            return;
        }
        m_line.send({reply});
        more = receiveByte();
    }
    if (more && receiveRestOfUnit() && m_after == AfterReplies::HangUp) {
        m_line.hangUp();
        return;
    }
    while (more) {
        more = receiveByte();
    }
}

// Up to the transfer's first byte.
bool XmodemPeer::awaitTransfer() {
    using Clock = std::chrono::steady_clock;
    Clock::time_point nextStart = Clock::now() + kBeforeStart;
    while (!m_stopped) {
        if (Clock::now() >= nextStart) {
            m_line.send({m_start});
            nextStart = Clock::now() + kBetweenStarts;
        }
        m_wire = m_line.receive(1, kPollMilliseconds);
        if (!m_wire.empty()) {
            return true;
        }
    }
    return false;
}

// The last byte received begins a block, or is a unit of its own.
bool XmodemPeer::receiveRestOfUnit() {
    if (m_wire.back() != xmodem::kStx) {
        return true;
    }
    const std::size_t rest = xmodem::kBlockLength - 1;
    const Bytes received = m_line.receive(rest);
    m_wire.insert(m_wire.end(), received.begin(), received.end());
    return received.size() == rest;
}

bool XmodemPeer::receiveByte() {
    for (;;) {
        const bool last = m_stopped;  // read first: what was written before the stop is not missed
        const Bytes received = m_line.receive(1, kPollMilliseconds);
        m_wire.insert(m_wire.end(), received.begin(), received.end());
        if (!received.empty() || last) {
            return !received.empty();
        }
    }
}
