#pragma once

#include <cstdint>

#include "technic/Singlton.h"

class KdMutex;

// Is told of every lock and unlock of every KdMutex, on the thread that locks or unlocks. `file`
// and `line` are the caller's, `id` is the mutex's.
class IKdMutexChecker {
  public:
    virtual ~IKdMutexChecker() = default;
    // After the lock is taken.
    virtual void onLock(KdMutex* mutex, const char* file, std::uint32_t line, std::uint32_t id) = 0;
    // Before the lock is given back.
    virtual void onUnlock(KdMutex* mutex, const char* file, std::uint32_t line,
                          std::uint32_t id) = 0;
};

// Records nothing. In force while no other checker is set.
class NullKdMutexChecker : public IKdMutexChecker, public Singlton<NullKdMutexChecker> {
  public:
    void onLock(KdMutex* mutex, const char* file, std::uint32_t line, std::uint32_t id) override;
    void onUnlock(KdMutex* mutex, const char* file, std::uint32_t line, std::uint32_t id) override;

    // Stays: threads that outlive main may still lock.
    void tearDown() override {}
};

// Puts a checker in force for the whole process; null brings NullKdMutexChecker back. The caller
// keeps ownership and must keep the checker alive while it is in force.
void setKdMutexChecker(IKdMutexChecker* checker);
// Never null.
IKdMutexChecker* kdMutexChecker();
