#include "tests/mcu/XmodemBytes.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>

namespace xmodem {

namespace {

// Polynomial division of the message followed by 16 zero bits, bit by bit.
std::uint16_t remainderOf(Bytes message) {
    message.insert(message.end(), 2, 0);
    std::uint32_t remainder = 0;
    for (const unsigned char byte : message) {
        for (int bit = 7; bit >= 0; --bit) {
            remainder = (remainder << 1) | ((static_cast<unsigned>(byte) >> bit) & 1U);
            if ((remainder & 0x10000U) != 0) {
                remainder ^= 0x11021U;
            }
        }
    }
    return static_cast<std::uint16_t>(remainder);
}

}  // namespace

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes block(int number, Bytes data) {
    data.resize(kDataLength, 0);
    const std::uint16_t crc = remainderOf(data);
    const auto low = static_cast<unsigned char>(number % 256);
    return Bytes{kStx, low, static_cast<unsigned char>(255 - low)} + data +
           Bytes{static_cast<unsigned char>(crc / 256), static_cast<unsigned char>(crc % 256)};
}

Bytes blocks(const Bytes& image, int times) {
    Bytes all;
    int number = 1;
    for (std::size_t begin = 0; begin < image.size(); begin += kDataLength) {
        const std::size_t end = std::min(begin + kDataLength, image.size());
        const Bytes one = block(number, {image.begin() + static_cast<std::ptrdiff_t>(begin),
                                         image.begin() + static_cast<std::ptrdiff_t>(end)});
        for (int i = 0; i < times; ++i) {
            all.insert(all.end(), one.begin(), one.end());
        }
        ++number;
    }
    return all;
}

Bytes image(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(i * 7 + i / kDataLength);
    }
    return bytes;
}

}  // namespace xmodem

ImageFile::ImageFile(const Bytes& bytes, const std::string& name) {
    std::string folder = (std::filesystem::current_path() / "imageXXXXXX").string();
    m_folder = mkdtemp(folder.data());
    m_path = (m_folder / name).string();
    std::filesystem::create_directories(std::filesystem::path(m_path).parent_path());
    std::ofstream(m_path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

ImageFile::~ImageFile() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}
