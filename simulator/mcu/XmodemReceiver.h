#pragma once

#include <optional>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/SimClock.h"

struct XmodemSettings {
    Time startDelay{0};           // from the permission to the first start byte
    Time startInterval{0};        // between start bytes
    int startBytes = 0;           // how many are sent before the receiver gives up
    Time blockTimeout{0};         // silence between blocks after which the receiver asks again
    int blockTimeouts = 0;        // how many such silences in a row end the reception
    bool refuseFirstEot = false;  // answer the first EOT with NAK, as the classic receivers do
};

// What the receptions of one MCU came to, all together.
struct XmodemStatistics {
    int transfers = 0;
    int completed = 0;
    int cancelled = 0;  // by the sender, the receiver or for want of blocks
    int startBytes = 0;
    int blocksAccepted = 0;
    int blocksRepeated = 0;  // blocks that were here already: acknowledged, not stored
    int blocksRefused = 0;   // answered with NAK
    int eots = 0;
};

// One XMODEM reception: what a boot loader does with the blocks and control bytes of a sender. The
// operations return the byte to answer with, or nothing when there is no answer.
class XmodemReceiver {
  public:
    XmodemReceiver(const XmodemSettings& settings, XmodemStatistics& statistics, Time now);

    // A whole block, right or damaged.
    std::optional<std::uint8_t> onBlock(const Bytes& block, Time now);
    // Part of a block came: nothing is sent while the rest is on its way.
    void onPartOfBlock(Time now);
    std::optional<std::uint8_t> onEot(Time now);
    // The reception ends at the second CAN in a row; a single one may be noise.
    void onCan();
    // The reception ends without an image.
    void abort();
    // Sends what is due: a start byte, or a NAK after a long silence.
    std::optional<std::uint8_t> onTime(Time now);
    Time nextDeadline() const;

    // A block or an EOT is refused whatever it holds; the receiver waits for the next.
    void refuseOne(Time now);
    // No block was accepted yet.
    bool waitsForFirstBlock() const { return m_image.empty(); }
    bool isOver() const { return m_phase == Phase::Complete || m_phase == Phase::Aborted; }
    bool isComplete() const { return m_phase == Phase::Complete; }
    // The content of the accepted blocks, fill bytes of the last one included.
    const Bytes& image() const { return m_image; }

  private:
    enum class Phase { Starting, Receiving, Complete, Aborted };

    std::uint8_t refuse(Time now);
    void waitForBlock(Time now);

    XmodemSettings m_settings;
    XmodemStatistics& m_statistics;
    Phase m_phase = Phase::Starting;
    Time m_deadline;
    int m_startBytesSent = 0;
    int m_silences = 0;
    int m_cans = 0;
    bool m_eotRefused = false;
    std::uint8_t m_lastNumber = 0;
    Bytes m_image;
};
