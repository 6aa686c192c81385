#pragma once

#include <atomic>
#include <cstdint>

#include "technic/MutexCell.h"

// The counter that every handle of one object shares. Records are made by the registry and live as
// long as it does. The operations do not lock; the caller holds the record's mutex where it must.
class SafePointerRecord {
  public:
    explicit SafePointerRecord(std::uint32_t index) : m_index(index) { m_mutex.init(); }

    // Count 1.
    void reset() { m_count.store(1, std::memory_order_relaxed); }
    // The new count, or 0 (and no change) when the count is 0: the object is being destroyed.
    std::int32_t increment();
    // The new count.
    std::int32_t decrement();

    // The address of the object that the record belongs to; null when it is free.
    void setObject(const void* object) { m_object.store(object, std::memory_order_relaxed); }
    const void* getObject() const { return m_object.load(std::memory_order_relaxed); }
    // The record's slot in the registry.
    std::uint32_t getIndex() const { return m_index; }

    // As MutexCell: 0 on success, -2 when the mutex is not valid.
    int lock() { return m_mutex.lock(); }
    int unlock() { return m_mutex.unlock(); }
    // For a free record that is to serve another object. An object's record stays locked while the
    // object is destroyed, and with it are locked the records of the handles that the object holds.
    // A record may have served an inner object and be to serve an outer one: in the order of locks
    // it must count as a new one.
    void renewLock() { m_mutex.renew(); }
    MutexCell& mutex() { return m_mutex; }

  private:
    MutexCell m_mutex;
    // Relaxed atomics, for the registry binds a freed record anew while the releasing thread still
    // holds the record's mutex.
    std::atomic<std::int32_t> m_count{0};
    const std::uint32_t m_index;
    std::atomic<const void*> m_object{nullptr};
};
