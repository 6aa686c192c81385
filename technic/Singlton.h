#pragma once

#include <atomic>

#include "technic/MutexCellGuard.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

// Base of every process-wide instance. The instances stand in one list, which owns them; at exit
// the list is torn down, the last entered first.
class ISinglton {
  public:
    virtual ~ISinglton() = default;

    // Called once, at exit. Destroys the instance. A class whose instance is used by threads that
    // outlive main, or by objects destroyed after it, overrides this to do nothing.
    virtual void tearDown() = 0;

  protected:
    // Enters an instance into the list. Any thread.
    static void registerInstance(ISinglton* instance);
};

// One instance of T in the process, made on first use. T derives from Singlton<T> and lets it
// construct a T. An instance asked for after its tear-down is made anew and then kept.
template <class T>
class Singlton : public ISinglton {
  public:
    // Never null. Any thread.
    static T* instance() {
        T* found = s_instance.load(std::memory_order_acquire);
        return found != nullptr ? found : make();
    }

    void tearDown() override {
        s_instance.store(nullptr, std::memory_order_release);
        delete this;
    }

  protected:
    Singlton() = default;

  private:
    static T* make() {
        const MutexCellGuard guard(constructionLock());
        T* found = s_instance.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = new (KD_HERE) T;
            registerInstance(found);
            s_instance.store(found, std::memory_order_release);
        }
        return found;
    }

    // Never destroyed: a thread may still come here while the process ends.
    static MutexCell& constructionLock() {
        static MutexCell& lock = *new (KD_HERE) MutexCell;
        static const int initialised = lock.init();
        (void)initialised;
        return lock;
    }

    static inline std::atomic<T*> s_instance{nullptr};
};
