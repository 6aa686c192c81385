#pragma once

#include <optional>

#include "simulator/mcu/Frame.h"
#include "simulator/mcu/SimClock.h"

// One complete thing that came over the line.
struct LineItem {
    enum class Type {
        Frame,         // a correct command frame
        BadFrame,      // a frame with a wrong checksum
        Noise,         // bytes that are nothing
        Block,         // a correct XMODEM block
        DamagedBlock,  // a block with a wrong header or check, too short, or with bytes too many
        Eot,
        Can,
    };
    Type type = Type::Noise;
    Bytes bytes;
    Frame frame;  // for Type::Frame
};

// Cuts the stream of received bytes into complete things, however the bytes were split on their
// way. Between XMODEM blocks it hunts for a block, a control byte or a whole command frame, so that
// a stray frame never reads as part of a block.
class LineDecoder {
  public:
    // gap: silence after which an unfinished frame or block will not be finished any more.
    // purge: silence that ends the bytes of a damaged block.
    LineDecoder(Time gap, Time purge);

    void push(const std::uint8_t* bytes, std::size_t length, Time now);
    // The next complete thing, or nothing until more bytes or nextDeadline() come. `transfer` says
    // whether an MCU is receiving blocks at this moment.
    std::optional<LineItem> next(bool transfer, Time now);
    // When next() must be called even if no byte comes.
    Time nextDeadline() const;
    // Whether bytes of something unfinished came at this moment.
    bool isUnfinished(Time now) const { return !m_buffer.empty() && m_lastByte == now; }
    // Forgets what is unfinished: the peer is gone.
    void clear();

  private:
    std::optional<LineItem> cut(bool transfer, Time now);
    std::optional<LineItem> cutFrame(Time now);
    std::optional<LineItem> cutBlock(Time now);
    LineItem take(LineItem::Type type, std::size_t length);
    bool silentFor(Time span, Time now) const { return now - m_lastByte >= span; }

    Time m_gap;
    Time m_purge;
    Time m_lastByte{0};
    Time m_wait{0};  // silence that the unfinished thing at the front is waiting for
    Bytes m_buffer;
    Bytes m_noise;
};
