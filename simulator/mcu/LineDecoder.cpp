#include "simulator/mcu/LineDecoder.h"

#include <utility>

#include "simulator/mcu/XmodemBlock.h"

LineDecoder::LineDecoder(Time gap, Time purge) : m_gap(gap), m_purge(purge) {}

void LineDecoder::push(const std::uint8_t* bytes, std::size_t length, Time now) {
    m_buffer.insert(m_buffer.end(), bytes, bytes + length);
    m_lastByte = now;
}

std::optional<LineItem> LineDecoder::next(bool transfer, Time now) {
    while (!m_buffer.empty()) {
        m_wait = m_gap;
        const std::size_t before = m_buffer.size();
        std::optional<LineItem> item = cut(transfer, now);
        if (item && !m_noise.empty()) {
            // The noise came first; the item is cut again by the next call.
            m_buffer.insert(m_buffer.begin(), item->bytes.begin(), item->bytes.end());
            return LineItem{LineItem::Type::Noise, std::exchange(m_noise, {}), {}};
        }
        if (item) {
            return item;
        }
        if (m_buffer.size() == before) {
            return std::nullopt;
        }
    }
    if (!m_noise.empty() && silentFor(m_purge, now)) {
        return LineItem{LineItem::Type::Noise, std::exchange(m_noise, {}), {}};
    }
    m_wait = m_purge;
    return std::nullopt;
}

// Takes an item or a byte of noise from the front; takes nothing when the front is unfinished.
std::optional<LineItem> LineDecoder::cut(bool transfer, Time now) {
    const std::uint8_t first = m_buffer.front();
    if (first == kFrameStart) {
        return cutFrame(now);
    }
    if (first == xmodem::kCan) {
        return take(LineItem::Type::Can, 1);
    }
    if (transfer && first == xmodem::kEot) {
        return take(LineItem::Type::Eot, 1);
    }
    if (transfer && xmodem::blockSize(first) != 0) {
        return cutBlock(now);
    }
    m_noise.push_back(first);
    m_buffer.erase(m_buffer.begin());
    return std::nullopt;
}

std::optional<LineItem> LineDecoder::cutFrame(Time now) {
    FrameScan scan = scanFrame(m_buffer);
    switch (scan.match) {
        case FrameMatch::Complete: {
            LineItem item = take(LineItem::Type::Frame, scan.length);
            item.frame = std::move(scan.frame);
            return item;
        }
        case FrameMatch::BadChecksum:
            return take(LineItem::Type::BadFrame, scan.length);
        case FrameMatch::Incomplete:
            if (!silentFor(m_gap, now)) {
                return std::nullopt;
            }
            break;
        case FrameMatch::None:
            break;
    }
    m_noise.push_back(m_buffer.front());
    m_buffer.erase(m_buffer.begin());
    return std::nullopt;
}

std::optional<LineItem> LineDecoder::cutBlock(Time now) {
    const std::size_t size = xmodem::blockSize(m_buffer.front());
    const bool wrongHeader = m_buffer.size() >= 3 && !xmodem::headerIsRight(m_buffer);
    if (m_buffer.size() < size && !wrongHeader) {
        if (!silentFor(m_gap, now)) {
            return std::nullopt;
        }
        return take(LineItem::Type::DamagedBlock, m_buffer.size());
    }
    if (!wrongHeader) {
        const auto end = m_buffer.begin() + static_cast<std::ptrdiff_t>(size);
        if (xmodem::blockIsRight(Bytes(m_buffer.begin(), end))) {
            return take(LineItem::Type::Block, size);
        }
    }
    // What belongs to a damaged block is unknown: everything up to a silence is thrown away, so
    // that no byte of its content is taken for a control byte.
    if (!silentFor(m_purge, now)) {
        m_wait = m_purge;
        return std::nullopt;
    }
    return take(LineItem::Type::DamagedBlock, m_buffer.size());
}

LineItem LineDecoder::take(LineItem::Type type, std::size_t length) {
    const auto end = m_buffer.begin() + static_cast<std::ptrdiff_t>(length);
    LineItem item{type, Bytes(m_buffer.begin(), end), {}};
    m_buffer.erase(m_buffer.begin(), end);
    return item;
}

Time LineDecoder::nextDeadline() const {
    return m_buffer.empty() && m_noise.empty() ? kNever : m_lastByte + m_wait;
}

void LineDecoder::clear() {
    m_buffer.clear();
    m_noise.clear();
}
