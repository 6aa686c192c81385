#include "tests/fuzz/support/FuzzInput.h"

#include <algorithm>

unsigned char FuzzInput::byte() {
    if (m_size == 0) {
        return 0;
    }
    --m_size;
    return *m_data++;
}

std::uint16_t FuzzInput::word() {
    const unsigned low = byte();
    const unsigned high = byte();
    return static_cast<std::uint16_t>(low | high << 8U);
}

std::int32_t FuzzInput::number() {
    const std::uint32_t low = word();
    const std::uint32_t high = word();
    return static_cast<std::int32_t>(low | high << 16U);
}

std::string FuzzInput::bytes(std::size_t length) {
    const std::size_t taken = std::min(length, m_size);
    const std::string bytes(m_data, m_data + taken);
    m_data += taken;
    m_size -= taken;
    return bytes;
}

std::string FuzzInput::text() {
    const std::size_t length = byte();
    return bytes(length);
}

std::string upToZero(const std::string& text) {
    return text.substr(0, text.find('\0'));
}
