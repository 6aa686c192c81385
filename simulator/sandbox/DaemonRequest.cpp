#include "simulator/sandbox/DaemonRequest.h"

#include <cstring>

void DaemonRequest::append(const char* bytes, std::size_t count) {
    if (state() == State::Incomplete) {
        m_bytes.append(bytes, count);
    }
}

std::optional<std::uint32_t> DaemonRequest::length() const {
    std::uint32_t length = 0;
    if (m_bytes.size() < sizeof length) {
        return std::nullopt;
    }
    std::memcpy(&length, m_bytes.data(), sizeof length);
    return length;
}

DaemonRequest::State DaemonRequest::state() const {
    const std::optional<std::uint32_t> announced = length();
    if (!announced) {
        return State::Incomplete;
    }
    if (*announced == 0 || *announced > kLongestCommand) {
        return State::Malformed;
    }
    return m_bytes.size() < sizeof *announced + *announced ? State::Incomplete : State::Complete;
}

std::string DaemonRequest::command() const {
    const std::optional<std::uint32_t> announced = length();
    return announced ? m_bytes.substr(sizeof *announced, *announced) : std::string();
}
