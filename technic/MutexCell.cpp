#include "technic/MutexCell.h"

namespace {

constexpr int kAlreadyInitialised = -1;
constexpr int kNotValid = -2;

}  // namespace

int MutexCell::init() {
    if (isValid()) {
        return kAlreadyInitialised;
    }
    const int error = pthread_mutex_init(&m_handle, nullptr);
    if (error != 0) {
        return error;
    }
    m_valid.store(kValid, std::memory_order_relaxed);
    return 0;
}

int MutexCell::lock() {
    if (!isValid()) {
        return kNotValid;
    }
    pthread_mutex_lock(&m_handle);
    return isValid() ? 0 : kNotValid;
}

int MutexCell::unlock() {
    if (!isValid()) {
        return kNotValid;
    }
    pthread_mutex_unlock(&m_handle);
    return 0;
}

int MutexCell::destroy() {
    if (isValid()) {
        pthread_mutex_destroy(&m_handle);
    }
    m_valid.store(0, std::memory_order_relaxed);
    return 0;
}

void MutexCell::renew() {
    if (!isValid() || pthread_mutex_trylock(&m_handle) != 0) {
        return;
    }
    pthread_mutex_unlock(&m_handle);
    (void)destroy();
    (void)init();
}
