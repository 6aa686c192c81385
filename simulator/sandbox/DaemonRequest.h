#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// A request to the control daemon, put together from the bytes of one connection: a length of 4
// bytes in the machine's byte order, then that many bytes of command.
class DaemonRequest {
  public:
    static constexpr std::uint32_t kLongestCommand = 999;

    enum class State { Incomplete, Complete, Malformed };

    // Bytes behind a complete or malformed request are ignored.
    void append(const char* bytes, std::size_t count);

    // Malformed: the length is 0 or over kLongestCommand.
    State state() const;
    // None until all 4 bytes of it are there.
    std::optional<std::uint32_t> length() const;
    // As much of the command as there is.
    std::string command() const;
    bool isEmpty() const { return m_bytes.empty(); }

  private:
    std::string m_bytes;
};
