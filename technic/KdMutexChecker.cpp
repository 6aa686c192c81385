#include "technic/KdMutexChecker.h"

#include <atomic>

namespace {

std::atomic<IKdMutexChecker*> checkerInForce{nullptr};

}  // namespace

void NullKdMutexChecker::onLock(KdMutex*, const char*, std::uint32_t, std::uint32_t) {}

void NullKdMutexChecker::onUnlock(KdMutex*, const char*, std::uint32_t, std::uint32_t) {}

void setKdMutexChecker(IKdMutexChecker* checker) {
    checkerInForce.store(checker, std::memory_order_release);
}

IKdMutexChecker* kdMutexChecker() {
    IKdMutexChecker* checker = checkerInForce.load(std::memory_order_acquire);
    return checker != nullptr ? checker : NullKdMutexChecker::instance();
}
