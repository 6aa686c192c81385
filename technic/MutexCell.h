#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

// The lowest lock: a POSIX mutex with a word that says whether it may be used. Not recursive. Use
// of a cell that was never initialised, or was destroyed, is refused instead of undefined.
//
// Every operation returns 0 on success. A cell is not initialised by construction.
class MutexCell {
  public:
    static constexpr std::uint32_t kValid = 0x55AA55AA;

    MutexCell() = default;
    MutexCell(const MutexCell&) = delete;
    MutexCell& operator=(const MutexCell&) = delete;

    // -1 if the cell is initialised already; it stays usable then.
    int init();
    // -2 if the cell is not valid, or was destroyed while this call waited.
    int lock();
    // -2 if the cell is not valid.
    int unlock();
    // Leaves the cell not valid in every case.
    int destroy();
    // Lets a new mutex take the place of one that nobody holds, so that nothing learned about the
    // old one (the order in which it was locked with others) is held against the new one. A cell
    // that is held, or not valid, stays as it is. Nobody may begin to lock it during the call.
    void renew();

    // kValid while the cell may be used.
    std::uint32_t valid() const { return m_valid.load(std::memory_order_relaxed); }

  private:
    bool isValid() const { return valid() == kValid; }

    pthread_mutex_t m_handle{};
    std::atomic<std::uint32_t> m_valid{0};
};
