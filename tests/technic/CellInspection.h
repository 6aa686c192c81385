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

// Puts a mutex into the cell that its holder may lock again, which no cell makes of itself.
inline void markMutex(MutexCell& cell) {
    pthread_mutexattr_t recursive;
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_destroy(&cellFields(cell).handle);
    pthread_mutex_init(&cellFields(cell).handle, &recursive);
    pthread_mutexattr_destroy(&recursive);
}

// Whether the cell, which nobody holds, has its marked mutex still.
inline bool hasMarkedMutex(MutexCell& cell) {
    pthread_mutex_t& handle = cellFields(cell).handle;
    pthread_mutex_lock(&handle);
    const bool isMarked = pthread_mutex_trylock(&handle) == 0;
    if (isMarked) {
        pthread_mutex_unlock(&handle);
    }
    pthread_mutex_unlock(&handle);
    return isMarked;
}
