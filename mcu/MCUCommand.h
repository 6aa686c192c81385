#pragma once

#include <cstdint>

// The frame of every command, in both directions: start byte, payload (group, code, data length,
// data), low 8 bits of the payload's sum, end byte. Nothing is escaped.
namespace mcu_frame {

constexpr unsigned char kStart = 0xFE;
constexpr unsigned char kEnd = 0xFF;
constexpr int kOverhead = 3;        // start byte, checksum, end byte
constexpr int kHeaderLength = 4;    // start byte, group, code, data length
constexpr int kReceiveLength = 32;  // longest frame received, start and end byte included

}  // namespace mcu_frame

// A request to the MCU or a response of it, for one exchange: built or parsed once, read, dropped.
// Handed about in SafePointer handles. One thread at a time.
class MCUCommand {
  public:
    MCUCommand() = default;
    virtual ~MCUCommand() { delete[] m_pCommandBuf; }
    MCUCommand(const MCUCommand&) = delete;
    MCUCommand& operator=(const MCUCommand&) = delete;

    // Builds the request's frame. False when the command is no request.
    virtual bool createCommand() { return false; }

    // Checks and decodes a received frame, which starts at its start byte. `frame` is null or has
    // mcu_frame::kReceiveLength readable bytes, however short the frame in it is. False when the
    // frame is not this response; nothing is decoded then. Neither the checksum nor the end byte
    // is looked at.
    virtual bool parseCommand(const unsigned char* frame);

    std::int32_t getCommandId() const { return m_nCommandId; }
    // The frame; null before createCommand. Owned by the command.
    const unsigned char* getCommandBuf() const { return m_pCommandBuf; }
    // The frame's length in bytes; 0 before createCommand.
    std::uint32_t getCommandLen() const { return m_nCommandLen; }

    // The MCU that a request is meant for; its low 8 bits go on the line.
    void setTarget(std::int32_t target) { m_nTarget = target; }
    std::int32_t getTarget() const { return m_nTarget; }

    // Builds a frame round `length` bytes of payload, in place of one that was built before. False
    // when `payload` is null or `length` negative.
    bool makeFrame(const unsigned char* payload, int length);
    // The plain sum of the bytes; 0 when `payload` is null or `length` below 1.
    static std::uint32_t calcCheckSum(const unsigned char* payload, int length);

  protected:
    std::int32_t m_nCommandId = 0;
    unsigned char* m_pCommandBuf = nullptr;
    std::uint32_t m_nCommandLen = 0;
    std::int32_t m_nTarget = 0;
};
