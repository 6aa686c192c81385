#include "tests/app/NoThreads.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace {

std::atomic<bool> refused{false};

}  // namespace

// Stands before the system's own.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*entry)(void*), void* argument) noexcept {
    if (refused) {
        (void)std::puts("no thread");
        return EAGAIN;
    }
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto kCreate = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return kCreate(thread, attributes, entry, argument);
}

NoThreads::NoThreads() {
    refused = true;
}

NoThreads::~NoThreads() {
    refused = false;
}
