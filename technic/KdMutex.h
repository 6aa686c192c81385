#pragma once

#include <cstdint>
#include <memory>

#include "technic/MutexCell.h"
#include "technic/SourceLocation.h"

// A mutex with a process-wide number whose every lock and unlock names the caller's source file and
// line. Not recursive: a thread that locks a mutex which it holds waits for ever.
class KdMutex {
  public:
    KdMutex();
    ~KdMutex();
    KdMutex(const KdMutex&) = delete;
    KdMutex& operator=(const KdMutex&) = delete;

    // Both return 0. They throw std::runtime_error, naming file and line, when the cell is not
    // valid, and what the checker throws. A lock that throws is not held.
    int lock(const char* file, int line);
    int unlock(const char* file, int line);

    std::uint32_t getId() const { return m_id; }
    // The cell, owned by this mutex.
    MutexCell& cell() { return *m_cell; }

  private:
    std::unique_ptr<MutexCell> m_cell;
    std::uint32_t m_id;
};

// Holds a KdMutex from construction to destruction, also when an exception passes. An unlock that
// fails throws out of the destructor and names this header's own line, whoever the caller is; logs
// are read that way.
class KdMutexGuard {
  public:
    KdMutexGuard(KdMutex& mutex, const char* file, int line) : m_mutex(mutex) {
        m_mutex.lock(file, line);
    }
    ~KdMutexGuard() noexcept(false) { m_mutex.unlock("../technic/KdMutex.h", 71); }
    KdMutexGuard(const KdMutexGuard&) = delete;
    KdMutexGuard& operator=(const KdMutexGuard&) = delete;

  private:
    KdMutex& m_mutex;
};
