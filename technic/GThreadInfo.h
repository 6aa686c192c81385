#pragma once

#include <atomic>
#include <cstdint>
#include <string>

// The heartbeat record of one worker. The state is written by starter, stopper and worker without a
// lock; time stamp and name belong to the owner until the worker runs.
class GThreadInfo {
  public:
    static constexpr std::uint32_t kRunning = 1;
    static constexpr std::uint32_t kStopped = 2;

    GThreadInfo() = default;
    explicit GThreadInfo(std::string name);
    GThreadInfo(const GThreadInfo&) = delete;
    GThreadInfo& operator=(const GThreadInfo&) = delete;

    // The bytes of the serialised form: 20 and the name's.
    std::uint32_t serializedSize() const;
    // The number of bytes written, or -2 when they do not fit into `capacity`.
    int serialize(unsigned char* buffer, unsigned int capacity) const;
    // 0, or -2 when `length` is below the record's present serialised size. The name ends at its
    // first zero byte or with the data.
    int deserialize(const unsigned char* buffer, unsigned int length);

    // Kernel thread id of the worker; 0 until it starts.
    std::uint32_t getThreadId() const { return m_threadId.load(std::memory_order_relaxed); }
    void setThreadId(std::uint32_t id) { m_threadId.store(id, std::memory_order_relaxed); }
    // kRunning or kStopped.
    std::uint32_t getState() const { return m_state.load(std::memory_order_relaxed); }
    void setState(std::uint32_t state) { m_state.store(state, std::memory_order_relaxed); }
    // How long the worker may stay silent, in seconds.
    std::uint32_t getTimeout() const { return m_timeout.load(std::memory_order_relaxed); }
    void setTimeout(std::uint32_t seconds) { m_timeout.store(seconds, std::memory_order_relaxed); }
    std::int64_t getTimestamp() const { return m_timestamp; }
    void setTimestamp(std::int64_t timestamp) { m_timestamp = timestamp; }
    const std::string& getName() const { return m_name; }
    // Touches nothing when the name is the same, so that a worker may read it meanwhile.
    void setName(const std::string& name);

  private:
    std::atomic<std::uint32_t> m_threadId{0};
    std::atomic<std::uint32_t> m_state{kStopped};
    std::atomic<std::uint32_t> m_timeout{60};
    std::int64_t m_timestamp = 0;
    std::string m_name;
};
