#include "tests/technic/ThreadCreation.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <mutex>

namespace {

using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

std::atomic<bool> isWatched{false};
std::atomic<bool> isRefused{false};

struct Watch {
    std::mutex lock;
    std::function<void()> made;
    ThreadCreation::Attributes attributes{};
};

Watch& watch() {
    static Watch& only = *new Watch;
    return only;
}

ThreadCreation::Attributes read(const pthread_attr_t& attributes) {
    ThreadCreation::Attributes found{};
    sched_param parameters{};
    pthread_attr_getdetachstate(&attributes, &found.detachState);
    pthread_attr_getinheritsched(&attributes, &found.inheritance);
    pthread_attr_getschedpolicy(&attributes, &found.policy);
    pthread_attr_getschedparam(&attributes, &parameters);
    found.priority = parameters.sched_priority;
    return found;
}

}  // namespace

// Takes the place of the C library's in this program.
extern "C" int pthread_create(pthread_t* handle, const pthread_attr_t* attributes,
                              void* (*entry)(void*), void* argument) noexcept {
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (!isWatched) {
        return create(handle, attributes, entry, argument);
    }
    std::function<void()> made;
    {
        const std::lock_guard<std::mutex> guard(watch().lock);
        if (attributes != nullptr) {
            watch().attributes = read(*attributes);
        }
        made = watch().made;
    }
    const int result = isRefused ? EAGAIN : create(handle, attributes, entry, argument);
    made();
    return result;
}

ThreadCreation::ThreadCreation(std::function<void()> made) {
    const std::lock_guard<std::mutex> guard(watch().lock);
    watch().made = std::move(made);
    isWatched = true;
}

ThreadCreation::~ThreadCreation() {
    isWatched = false;
    isRefused = false;
}

void ThreadCreation::refuse() {
    isRefused = true;
}

ThreadCreation::Attributes ThreadCreation::attributes() {
    const std::lock_guard<std::mutex> guard(watch().lock);
    return watch().attributes;
}
