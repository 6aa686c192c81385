#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "technic/MutexCell.h"

// The fields of a cell as they lie in memory.
struct CellFields {
    pthread_mutex_t handle;
    std::atomic<std::uint32_t> valid;
};

inline CellFields& cellFields(MutexCell& cell) {
    static_assert(sizeof(CellFields) == sizeof(MutexCell));
    static_assert(std::is_standard_layout_v<MutexCell>);
    return reinterpret_cast<CellFields&>(cell);
}

// Whether any thread, this one included, holds the cell's mutex.
inline bool isHeld(MutexCell& cell) {
    pthread_mutex_t& handle = cellFields(cell).handle;
    if (pthread_mutex_trylock(&handle) != 0) {
        return true;
    }
    pthread_mutex_unlock(&handle);
    return false;
}
