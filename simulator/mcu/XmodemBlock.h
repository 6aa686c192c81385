#pragma once

#include <cstdint>

#include "simulator/mcu/Bytes.h"

namespace xmodem {

constexpr std::uint8_t kSoh = 0x01;
constexpr std::uint8_t kStx = 0x02;
constexpr std::uint8_t kEot = 0x04;
constexpr std::uint8_t kAck = 0x06;
constexpr std::uint8_t kNak = 0x15;
constexpr std::uint8_t kCan = 0x18;
constexpr std::uint8_t kStartByte = 'C';

// The length of a whole block that starts with this byte; 0 when no block does.
std::size_t blockSize(std::uint8_t firstByte);

// CRC-16/XMODEM: polynomial 0x1021, start value 0, no reflection.
std::uint16_t crc16(const std::uint8_t* bytes, std::size_t length);

// Whether the number and its complement (the bytes 1 and 2) agree. At least three bytes.
bool headerIsRight(const Bytes& block);
// Whether these bytes are one whole block whose header and check agree with its content.
bool blockIsRight(const Bytes& block);
// The content of a whole block.
Bytes blockData(const Bytes& block);

}  // namespace xmodem
