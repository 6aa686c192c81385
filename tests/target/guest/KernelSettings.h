#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>

// Everything that the kernel knows of a line's settings, its speeds in both directions as numbers.
struct KernelSettings {
    std::uint32_t input = 0;
    std::uint32_t output = 0;
    std::uint32_t control = 0;
    std::uint32_t local = 0;
    unsigned char discipline = 0;
    std::array<unsigned char, 19> characters{};
    std::uint32_t inputSpeed = 0;
    std::uint32_t outputSpeed = 0;
};

bool operator==(const KernelSettings& one, const KernelSettings& other);
std::ostream& operator<<(std::ostream& out, const KernelSettings& settings);

// Of the line with this descriptor. Throws std::system_error where the kernel refuses.
KernelSettings kernelSettings(int fd);
// Sets the flags and characters; the speed is the one that the control flags name.
void setKernelSettings(int fd, const KernelSettings& settings);
