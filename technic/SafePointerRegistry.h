#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "technic/MutexCell.h"
#include "technic/SafePointerRecord.h"

// The pool of counter records behind all SafePointers. It grows in steps, warns on standard output
// when it has become large, and refuses to grow beyond a limit: a guard against handle leaks on a
// small device. Any thread. A caller that holds a record's mutex may call it, never the other way.
class SafePointerRegistry {
  public:
    SafePointerRegistry();
    SafePointerRegistry(const SafePointerRegistry&) = delete;
    SafePointerRegistry& operator=(const SafePointerRegistry&) = delete;

    // The registry of this process; made on first use and never destroyed.
    static SafePointerRegistry& instance();

    // A free record bound to `object` with count 1. The slot freed last is not handed out.
    // Throws KdRuntimeError "too much safe poniter" when the pool is full.
    SafePointerRecord* allocate(const void* object, const char* typeName);
    // Frees a record. Throws KdRuntimeError "double free poniter(...)" when it is free already.
    void free(SafePointerRecord* record, const char* typeName);

    // How many records the pool holds, free or bound.
    std::size_t recordCount();

  private:
    bool isUsed(std::uint32_t index) const;
    std::optional<std::uint32_t> findFree() const;
    std::optional<std::uint32_t> findFreeInWords(std::uint32_t first, std::uint32_t end) const;
    void grow();

    std::vector<std::unique_ptr<SafePointerRecord>> m_records;
    std::vector<std::uint32_t> m_usedBits;
    MutexCell m_mutex;
    std::uint32_t m_lastFreed = 0;
};
