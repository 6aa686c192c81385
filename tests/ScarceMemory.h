#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include "technic/KdMutexChecker.h"

// There is no memory the next time that the source file named here locks a mutex. One at a time,
// which outlives the threads that lock meanwhile.
class ScarceMemory : public IKdMutexChecker {
  public:
    explicit ScarceMemory(std::string file) : m_file(std::move(file)) { setKdMutexChecker(this); }
    ~ScarceMemory() override { setKdMutexChecker(nullptr); }

    void onLock(KdMutex* /*mutex*/, const char* file, std::uint32_t /*line*/,
                std::uint32_t /*id*/) override {
        if (std::strstr(file, m_file.c_str()) != nullptr && !m_wasScarce.exchange(true)) {
            throw std::bad_alloc();
        }
    }
    void onUnlock(KdMutex* /*mutex*/, const char* /*file*/, std::uint32_t /*line*/,
                  std::uint32_t /*id*/) override {}

  private:
    const std::string m_file;
    std::atomic<bool> m_wasScarce{false};
};
