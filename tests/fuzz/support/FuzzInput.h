#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Reads one input of a fuzzer from front to back. What is asked for behind the end is 0 or empty,
// so that every input means something.
class FuzzInput {
  public:
    FuzzInput(const unsigned char* data, std::size_t size) : m_data(data), m_size(size) {}

    bool isAtEnd() const { return m_size == 0; }

    unsigned char byte();
    bool flag() { return (byte() & 1U) != 0; }
    // Two and four bytes, the lowest first.
    std::uint16_t word();
    std::int32_t number();

    // At most `length` bytes.
    std::string bytes(std::size_t length);
    // A byte that says how many, and as many bytes.
    std::string text();
    std::string rest() { return bytes(m_size); }

  private:
    const unsigned char* m_data;
    std::size_t m_size;
};

// The part of `text` that a C string holds.
std::string upToZero(const std::string& text);
