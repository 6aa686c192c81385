#include "simulator/mcu/Frame.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace {

constexpr std::size_t kHeaderSize = 4;   // start, group, code, data length
constexpr std::size_t kTrailerSize = 2;  // checksum, end
// No request of the command set comes near this; a longer one is noise that looks like a start.
constexpr std::size_t kMostData = 64;

std::uint8_t sumOf(Bytes::const_iterator first, Bytes::const_iterator last) {
    return static_cast<std::uint8_t>(std::accumulate(first, last, 0U));
}

}  // namespace

Bytes encodeFrame(const Frame& frame) {
    Bytes bytes;
    bytes.reserve(kHeaderSize + frame.data.size() + 2);
    bytes.push_back(kFrameStart);
    bytes.push_back(frame.group);
    bytes.push_back(frame.code);
    bytes.push_back(static_cast<std::uint8_t>(frame.data.size()));
    std::copy(frame.data.begin(), frame.data.end(), std::back_inserter(bytes));
    bytes.push_back(sumOf(bytes.begin() + 1, bytes.end()));
    bytes.push_back(kFrameEnd);
    return bytes;
}

FrameScan scanFrame(const Bytes& bytes) {
    FrameScan scan;
    if (bytes.empty() || bytes[0] != kFrameStart) {
        return scan;
    }
    if (bytes.size() < kHeaderSize) {
        scan.match = FrameMatch::Incomplete;
        return scan;
    }
    const std::size_t dataLength = bytes[3];
    if (dataLength > kMostData) {
        return scan;
    }
    const std::size_t length = kHeaderSize + dataLength + kTrailerSize;
    if (bytes.size() < length) {
        scan.match = FrameMatch::Incomplete;
        return scan;
    }
    if (bytes[length - 1] != kFrameEnd) {
        return scan;
    }
    scan.length = length;
    const auto data = bytes.begin() + kHeaderSize;
    const auto dataEnd = data + static_cast<std::ptrdiff_t>(dataLength);
    if (sumOf(bytes.begin() + 1, dataEnd) != *dataEnd) {
        scan.match = FrameMatch::BadChecksum;
        return scan;
    }
    scan.match = FrameMatch::Complete;
    scan.frame = Frame{bytes[1], bytes[2], Bytes(data, dataEnd)};
    return scan;
}
