#pragma once

#include <cstdint>
#include <memory>

#include "technic/MutexCell.h"
#include "technic/Singlton.h"

// Hands out the process-wide numbers of mutexes, the lowest free one first. Any thread.
class KdMutexIDAlloc : public Singlton<KdMutexIDAlloc> {
  public:
    KdMutexIDAlloc();

    std::uint32_t allocate();
    // An id that was never handed out is ignored.
    void free(std::uint32_t id);
    // How many 32-bit words of ids there are.
    std::uint32_t wordCount();

    // Stays: static mutexes may be destroyed after everything else.
    void tearDown() override {}

  private:
    std::uint32_t growAndTakeFirst();

    MutexCell m_lock;
    std::uint32_t m_wordCount = 0;
    std::unique_ptr<std::uint32_t[]> m_bits;
};
