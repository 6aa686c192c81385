#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// A firmware image with recognisable content, the version at 0x10 and the hardware information at
// 0x20, as the configurations of these tests say.
class FirmwareImage {
  public:
    static constexpr std::size_t kVersionPosition = 0x10;
    static constexpr std::size_t kHardwarePosition = 0x20;

    explicit FirmwareImage(std::size_t size);

    // The version in reading order: {2, 10, 5} reads as the text 2105.
    FirmwareImage& version(std::array<std::uint8_t, 3> parts);
    // The hardware information in reading order: {0xA1, 0xB2} reads as a1b2.
    FirmwareImage& hardware(const Bytes& bytes);
    FirmwareImage& bytesAt(std::size_t position, const Bytes& bytes);

    void writeTo(const std::filesystem::path& file) const;
    // The image as a boot loader stores it: filled with zeros to a whole number of 1024-byte
    // blocks.
    Bytes padded() const;

  private:
    Bytes m_bytes;
};

// The whole content of a file; empty when there is no such file.
Bytes readBytes(const std::filesystem::path& file);
std::string readText(const std::filesystem::path& file);
void writeText(const std::filesystem::path& file, const std::string& text);
