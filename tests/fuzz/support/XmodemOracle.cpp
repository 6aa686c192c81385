#include "tests/fuzz/support/XmodemOracle.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

#include "tests/fuzz/support/Require.h"

namespace {

using Event = ScriptedLine::Event;

constexpr std::size_t kDataLength = 1024;
constexpr std::size_t kBlockLength = 1029;
constexpr unsigned kMostSends = 12;
constexpr char kAck = 0x06;
constexpr char kNak = 0x15;
constexpr char kCan = 0x18;
const std::string kEot = "\x04";
const std::string kAbort = "\x18\x18\x18\x18";

std::uint16_t crcOf(const std::string& data) {
    static const std::array<std::uint16_t, 256> kTable = [] {
        std::array<std::uint16_t, 256> table{};
        for (unsigned row = 0; row < table.size(); ++row) {
            unsigned value = row << 8U;
            for (int bit = 0; bit < 8; ++bit) {
                value = value << 1U ^ ((value & 0x8000U) != 0 ? 0x1021U : 0U);
            }
            table[row] = static_cast<std::uint16_t>(value);
        }
        return table;
    }();
    unsigned crc = 0;
    for (const char byte : data) {
        crc = (crc << 8U & 0xFFFFU) ^ kTable[crc >> 8U ^ static_cast<unsigned char>(byte)];
    }
    return static_cast<std::uint16_t>(crc);
}

// Block `number` of the file, counted from 1, as it has to go over the line.
std::string blockOf(const std::string& content, std::size_t number) {
    std::string data = content.substr((number - 1) * kDataLength, kDataLength);
    data.resize(kDataLength);
    const std::uint16_t crc = crcOf(data);
    std::string block = "\x02";
    block += static_cast<char>(number % 256);
    block += static_cast<char>(255 - number % 256);
    block += data;
    block += static_cast<char>(crc / 256);
    block += static_cast<char>(crc % 256);
    return block;
}

class Transfer {
  public:
    explicit Transfer(const std::string& content)
        : m_content(content), m_blocks((content.size() + kDataLength - 1) / kDataLength) {}

    void follow(const Event& event) {
        if (event.kind == Event::Kind::Written) {
            written(event);
            return;
        }
        require(!m_isAborted, "nothing is awaited after the transfer was given up");
        require(event.bytes.size() <= 1, "replies are read one by one");
        if (event.kind == Event::Kind::Received) {
            require(!m_hasStarted || m_isAnswerDue, "one reply is read for each thing sent");
            m_isAnswerDue = false;
            m_reply = m_hasStarted ? event.bytes.front() : kAck;
            m_hasStarted = true;
        }
    }

    void requireResult(int result) const {
        switch (result) {
            case 0:
                require(m_isEnding && isAnswered(kAck) && !m_isAborted,
                        "sent is what was acknowledged to its end");
                break;
            case -1:
                require(m_blocks == 0 && m_sends == 0, "a file that can be read is sent");
                break;
            case -2:
                require((m_isAnswerDue || !m_hasStarted) && m_isAborted == m_hasStarted,
                        "a reply did not come");
                break;
            case -3:
                require(isAnswered(kCan) && m_sends > 0 && !m_isAborted, "a cancellation came");
                break;
            case -4:
                require(isAnswered(kNak) && m_sends == kMostSends && m_isAborted,
                        "a block was refused twelve times");
                break;
            default:
                require(result == -5 && isUnknown(m_reply) && isAnswered(m_reply) && m_sends > 0 &&
                            m_isAborted,
                        "an unknown reply came");
        }
        require(!m_isAborted || m_isAbortTold, "giving up is told while the line lives");
    }

  private:
    static bool isUnknown(char reply) { return reply != kAck && reply != kNak && reply != kCan; }
    bool isAnswered(char reply) const { return !m_isAnswerDue && m_reply == reply; }

    void written(const Event& event) {
        require(m_hasStarted, "nothing is sent before the start");
        if (event.bytes == kAbort) {
            require(!m_isAbortTold, "giving up is told once");
            m_isAborted = true;
            m_isAbortTold = event.result == static_cast<ssize_t>(kAbort.size()) ||
                            (event.result < 0 && event.result != -EINTR);
            return;
        }
        require(!m_isAborted, "nothing is sent after the transfer was given up");
        require(!m_isAnswerDue, "nothing is sent before the answer to what was sent");
        m_isAnswerDue = true;
        if (event.bytes == kEot) {
            require(m_isEnding ? m_reply != kAck : m_reply == kAck && m_sent == m_blocks,
                    "the end is told after the last block, and until it is acknowledged");
            m_isEnding = true;
        } else {
            block(event.bytes);
        }
    }

    void block(const std::string& bytes) {
        require(!m_isEnding && bytes.size() == kBlockLength, "a block is sent whole");
        if (m_reply == kAck) {
            ++m_sent;
            m_sends = 0;
        }
        ++m_sends;
        require(m_sends == 1 || m_reply == kNak, "a block is repeated when it was refused");
        require(m_sends <= kMostSends, "a block is sent twelve times at most");
        require(m_sent >= 1 && m_sent <= m_blocks, "a block of the file is sent");
        require(bytes == blockOf(m_content, m_sent), "the block that is due is sent");
    }

    const std::string& m_content;
    const std::size_t m_blocks;
    std::size_t m_sent = 0;
    unsigned m_sends = 0;
    bool m_hasStarted = false;
    bool m_isAnswerDue = false;
    bool m_isEnding = false;
    bool m_isAborted = false;
    bool m_isAbortTold = false;
    char m_reply = 0;
};

}  // namespace

void requireXmodem(const std::vector<Event>& events, const std::string& content, int result) {
    const auto cleared = std::find_if(events.begin(), events.end(), [](const Event& event) {
        return event.kind != Event::Kind::Received;
    });
    Transfer transfer(content);
    if (cleared != events.end()) {
        require(cleared->kind == Event::Kind::Silence, "the line is cleared before anything else");
        std::for_each(cleared + 1, events.end(),
                      [&](const Event& event) { transfer.follow(event); });
    }
    transfer.requireResult(result);
}
