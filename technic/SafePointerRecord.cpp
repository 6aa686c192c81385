#include "technic/SafePointerRecord.h"

std::int32_t SafePointerRecord::increment() {
    const std::int32_t count = m_count.load(std::memory_order_relaxed);
    if (count == 0) {
        return 0;
    }
    m_count.store(count + 1, std::memory_order_relaxed);
    return count + 1;
}

std::int32_t SafePointerRecord::decrement() {
    const std::int32_t count = m_count.load(std::memory_order_relaxed) - 1;
    m_count.store(count, std::memory_order_relaxed);
    return count;
}
