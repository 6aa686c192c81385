#include "technic/GThreadInfo.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint32_t kFixedSize = 20;
constexpr int kDoesNotFit = -2;

void putBigEndian(unsigned char* to, std::uint32_t value) {
    to[0] = static_cast<unsigned char>(value >> 24U);
    to[1] = static_cast<unsigned char>(value >> 16U);
    to[2] = static_cast<unsigned char>(value >> 8U);
    to[3] = static_cast<unsigned char>(value);
}

std::uint32_t getBigEndian(const unsigned char* from) {
    return static_cast<std::uint32_t>(from[0]) << 24U | static_cast<std::uint32_t>(from[1]) << 16U |
           static_cast<std::uint32_t>(from[2]) << 8U | static_cast<std::uint32_t>(from[3]);
}

}  // namespace

GThreadInfo::GThreadInfo(std::string name) : m_name(std::move(name)) {}

void GThreadInfo::setName(const std::string& name) {
    if (m_name != name) {
        m_name = name;
    }
}

std::uint32_t GThreadInfo::serializedSize() const {
    return kFixedSize + static_cast<std::uint32_t>(m_name.size());
}

int GThreadInfo::serialize(unsigned char* buffer, unsigned int capacity) const {
    if (serializedSize() > capacity) {
        return kDoesNotFit;
    }
    const auto timestamp = static_cast<std::uint64_t>(m_timestamp);
    const std::uint32_t state = getState();
    putBigEndian(buffer, getThreadId());
    // The state alone goes out in the machine's own byte order; monitors read it that way.
    std::memcpy(buffer + 4, &state, sizeof(state));
    putBigEndian(buffer + 8, getTimeout());
    putBigEndian(buffer + 12, static_cast<std::uint32_t>(timestamp >> 32U));
    putBigEndian(buffer + 16, static_cast<std::uint32_t>(timestamp));
    std::copy(m_name.begin(), m_name.end(), buffer + kFixedSize);
    return static_cast<int>(serializedSize());
}

int GThreadInfo::deserialize(const unsigned char* buffer, unsigned int length) {
    if (length < serializedSize()) {
        return kDoesNotFit;
    }
    std::uint32_t state = 0;
    std::memcpy(&state, buffer + 4, sizeof(state));
    setThreadId(getBigEndian(buffer));
    setState(state);
    setTimeout(getBigEndian(buffer + 8));
    m_timestamp = static_cast<std::int64_t>(
        static_cast<std::uint64_t>(getBigEndian(buffer + 12)) << 32U | getBigEndian(buffer + 16));
    const auto* name = reinterpret_cast<const char*>(buffer + kFixedSize);
    m_name.assign(name, strnlen(name, length - kFixedSize));
    return 0;
}
