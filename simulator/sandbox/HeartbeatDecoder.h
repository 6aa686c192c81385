#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

// What a thread says of itself in one message of the heartbeat pipe.
struct Heartbeat {
    std::uint32_t threadId = 0;
    std::uint32_t state = 0;    // 1 running, 2 stopped
    std::uint32_t timeout = 0;  // seconds that the thread may stay silent
    std::int64_t timestamp = 0;
    std::string name;
};

// Bytes of the pipe that are no heartbeat.
struct MalformedMessage {
    std::string reason;
    std::string bytes;
};

// Cuts what comes out of the heartbeat pipe into messages: a length of 4 bytes in the machine's
// byte order, then a record of that length, whose numbers are big-endian but for `state`, which is
// in the machine's byte order.
class HeartbeatDecoder {
  public:
    static constexpr std::size_t kShortestRecord = 20;
    static constexpr std::size_t kLongestRecord = 1024;

    using Message = std::variant<Heartbeat, MalformedMessage>;

    void append(const char* bytes, std::size_t count);

    // The next message, or none while there is no complete one. A length over kLongestRecord can be
    // no length, so that no further message can be found: everything that is there is handed out
    // as malformed.
    std::optional<Message> next();

    // Takes out the beginning of a message whose end has not come; none if there is none.
    std::optional<MalformedMessage> takeIncomplete();

    bool isEmpty() const { return m_bytes.empty(); }

  private:
    std::string take(std::size_t count);

    std::string m_bytes;
};
