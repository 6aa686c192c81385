#include "simulator/mcu/XmodemBlock.h"

namespace xmodem {

namespace {

constexpr std::size_t kHeaderSize = 3;
constexpr std::size_t kCheckSize = 2;
constexpr std::size_t kShortData = 128;
constexpr std::size_t kLongData = 1024;

}  // namespace

std::size_t blockSize(std::uint8_t firstByte) {
    switch (firstByte) {
        case kSoh:
            return kHeaderSize + kShortData + kCheckSize;
        case kStx:
            return kHeaderSize + kLongData + kCheckSize;
        default:
            return 0;
    }
}

std::uint16_t crc16(const std::uint8_t* bytes, std::size_t length) {
    std::uint32_t crc = 0;
    for (std::size_t i = 0; i < length; ++i) {
        crc ^= static_cast<std::uint32_t>(bytes[i]) << 8U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000U) != 0 ? (crc << 1U) ^ 0x1021U : crc << 1U;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

bool headerIsRight(const Bytes& block) {
    return block[1] + block[2] == 0xFF;
}

bool blockIsRight(const Bytes& block) {
    if (block.empty() || blockSize(block[0]) != block.size() || !headerIsRight(block)) {
        return false;
    }
    const std::size_t check = block.size() - kCheckSize;
    const std::uint16_t crc = crc16(block.data() + kHeaderSize, check - kHeaderSize);
    return block[check] == crc >> 8U && block[check + 1] == (crc & 0xFFU);
}

Bytes blockData(const Bytes& block) {
    return {block.begin() + kHeaderSize, block.end() - kCheckSize};
}

}  // namespace xmodem
