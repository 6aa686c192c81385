#include "tests/e2e/FirmwareImage.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {

constexpr std::size_t kBlockSize = 1024;

}  // namespace

FirmwareImage::FirmwareImage(std::size_t size) : m_bytes(size) {
    std::uint32_t value = 1;
    for (std::uint8_t& byte : m_bytes) {
        value = value * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(value >> 24U);
    }
}

FirmwareImage& FirmwareImage::version(std::array<std::uint8_t, 3> parts) {
    std::reverse_copy(parts.begin(), parts.end(), m_bytes.begin() + kVersionPosition);
    return *this;
}

FirmwareImage& FirmwareImage::hardware(const Bytes& bytes) {
    std::reverse_copy(bytes.begin(), bytes.end(), m_bytes.begin() + kHardwarePosition);
    return *this;
}

FirmwareImage& FirmwareImage::bytesAt(std::size_t position, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(position));
    return *this;
}

void FirmwareImage::writeTo(const std::filesystem::path& file) const {
    std::ofstream out(file, std::ios::binary);
    std::copy(m_bytes.begin(), m_bytes.end(), std::ostreambuf_iterator<char>(out));
}

Bytes FirmwareImage::padded() const {
    Bytes stored = m_bytes;
    stored.resize((stored.size() + kBlockSize - 1) / kBlockSize * kBlockSize, 0);
    return stored;
}

Bytes readBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string readText(const std::filesystem::path& file) {
    const Bytes bytes = readBytes(file);
    return {bytes.begin(), bytes.end()};
}

void writeText(const std::filesystem::path& file, const std::string& text) {
    std::ofstream out(file, std::ios::binary);
    out << text;
}
