#pragma once

#include <dlfcn.h>

#include <atomic>
#include <ctime>

// The function that this library stands in front of: the C library's, or that of a sanitizer which
// itself stands in front of the C library's. Looked up at the first use; any thread may call it.
template <typename Function>
class Next {
  public:
    explicit constexpr Next(const char* name) : m_name(name) {}
    // Where a word has 32 bits the C library knows the function for 64-bit times, as this library
    // has them, by a name of its own.
    constexpr Next(const char* name, const char* wideName)
        : m_name(sizeof(time_t) > sizeof(long) ? wideName : name) {}

    Function* get() {
        Function* function = m_function.load(std::memory_order_relaxed);
        if (function == nullptr) {
            function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, m_name));
            m_function.store(function, std::memory_order_relaxed);
        }
        return function;
    }

  private:
    const char* m_name;
    std::atomic<Function*> m_function{nullptr};
};

// Marks a function that takes the place of the C library's.
#define SHIM_EXPORT extern "C" __attribute__((visibility("default")))
