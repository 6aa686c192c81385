#include "technic/KdMutex.h"

#include <array>
#include <cstdio>
#include <stdexcept>

#include "technic/KdMutexChecker.h"
#include "technic/KdMutexIDAlloc.h"
#include "technic/TrackedAlloc.h"

namespace {

// `format` takes the mutex's address, the validity word, the line and the file.
[[noreturn]] void throwNotInitialised(const char* format, const KdMutex* mutex, std::uint32_t key,
                                      const char* file, int line) {
    std::array<char, 256> text{};
    const auto address = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(mutex));
    (void)std::snprintf(text.data(), text.size(), format, address, key, line, file);
    throw std::runtime_error(text.data());
}

}  // namespace

KdMutex::KdMutex() : m_cell(new (KD_HERE) MutexCell), m_id(KdMutexIDAlloc::instance()->allocate()) {
    (void)m_cell->init();    // a new cell; were it refused, the first lock would say so
    (void)kdMutexChecker();  // made by now, so that locking needs no memory
}

KdMutex::~KdMutex() {
    KdMutexIDAlloc::instance()->free(m_id);
    (void)m_cell->destroy();
}

int KdMutex::lock(const char* file, int line) {
    if (m_cell->lock() != 0) {
        throwNotInitialised("Mutex(0x%x) not initialized(Key=%x),lock at line %d of %s ", this,
                            m_cell->valid(), file, line);
    }
    try {
        kdMutexChecker()->onLock(this, file, static_cast<std::uint32_t>(line), m_id);
    } catch (...) {
        (void)m_cell->unlock();  // it was valid a moment ago
        throw;
    }
    return 0;
}

int KdMutex::unlock(const char* file, int line) {
    if (m_cell->valid() != MutexCell::kValid) {
        throwNotInitialised("Mutex(0x%x) not initialized(Key=%x),unlock at line %d of %s ", this,
                            m_cell->valid(), file, line);
    }
    kdMutexChecker()->onUnlock(this, file, static_cast<std::uint32_t>(line), m_id);
    return m_cell->unlock();
}
