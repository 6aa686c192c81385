#include "simulator/sandbox/HeartbeatDecoder.h"

#include <fmt/format.h>

#include <cstring>

namespace {

// Where a record's fields stand.
constexpr std::size_t kThreadId = 0;
constexpr std::size_t kState = 4;
constexpr std::size_t kTimeout = 8;
constexpr std::size_t kTimestampHigh = 12;
constexpr std::size_t kTimestampLow = 16;
constexpr std::size_t kName = 20;

constexpr unsigned int kBitsPerByte = 8;
constexpr unsigned int kBitsPerWord = 32;

std::uint32_t bigEndian(const std::string& bytes, std::size_t position) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) {
        value = value << kBitsPerByte | static_cast<unsigned char>(bytes[position + i]);
    }
    return value;
}

std::uint32_t native(const std::string& bytes, std::size_t position) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + position, sizeof value);
    return value;
}

Heartbeat heartbeatFrom(const std::string& record) {
    Heartbeat heartbeat;
    heartbeat.threadId = bigEndian(record, kThreadId);
    heartbeat.state = native(record, kState);
    heartbeat.timeout = bigEndian(record, kTimeout);
    heartbeat.timestamp =
        static_cast<std::int64_t>(std::uint64_t{bigEndian(record, kTimestampHigh)} << kBitsPerWord |
                                  bigEndian(record, kTimestampLow));
    heartbeat.name = record.substr(kName, record.find('\0', kName) - kName);
    return heartbeat;
}

}  // namespace

void HeartbeatDecoder::append(const char* bytes, std::size_t count) {
    m_bytes.append(bytes, count);
}

std::string HeartbeatDecoder::take(std::size_t count) {
    std::string taken = m_bytes.substr(0, count);
    m_bytes.erase(0, count);
    return taken;
}

std::optional<HeartbeatDecoder::Message> HeartbeatDecoder::next() {
    constexpr std::size_t kPrefix = sizeof(std::uint32_t);
    if (m_bytes.size() < kPrefix) {
        return std::nullopt;
    }
    const std::size_t length = native(m_bytes, 0);
    if (length > kLongestRecord) {
        return MalformedMessage{fmt::format("a length of {} is too long", length),
                                take(m_bytes.size())};
    }
    if (m_bytes.size() < kPrefix + length) {
        return std::nullopt;
    }
    std::string message = take(kPrefix + length);
    if (length < kShortestRecord) {
        return MalformedMessage{fmt::format("a length of {} is too short", length),
                                std::move(message)};
    }
    return heartbeatFrom(message.substr(kPrefix));
}

std::optional<MalformedMessage> HeartbeatDecoder::takeIncomplete() {
    if (m_bytes.empty()) {
        return std::nullopt;
    }
    return MalformedMessage{"the message is incomplete", take(m_bytes.size())};
}
