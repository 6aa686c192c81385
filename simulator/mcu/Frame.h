#pragma once

#include <cstdint>
#include <optional>

#include "simulator/mcu/Bytes.h"

constexpr std::uint8_t kFrameStart = 0xFE;
constexpr std::uint8_t kFrameEnd = 0xFF;

// A command frame: start byte, group, code, data length, data, checksum, end byte.
struct Frame {
    std::uint8_t group = 0;
    std::uint8_t code = 0;
    Bytes data;  // at most 255 bytes
};

// The frame as it goes over the line.
Bytes encodeFrame(const Frame& frame);

// What the bytes at the front of a buffer are.
enum class FrameMatch {
    Complete,     // a whole, correct frame
    BadChecksum,  // a whole frame whose checksum is wrong
    Incomplete,   // may become a frame when more bytes come
    None,         // no frame starts here
};

struct FrameScan {
    FrameMatch match = FrameMatch::None;
    std::size_t length = 0;  // of the whole frame, for Complete and BadChecksum
    Frame frame;             // for Complete
};

// Looks for a frame at the very front of the bytes. The length byte decides where a frame ends, so
// data and checksum may hold the start and end values.
FrameScan scanFrame(const Bytes& bytes);
