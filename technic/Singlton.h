#pragma once

#include <atomic>

#include "technic/MutexCell.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

// Base of every process-wide instance.
class ISinglton {
  public:
    virtual ~ISinglton() = default;

  protected:
    // Enters an instance into the process-wide list, which owns it from then on: at exit the listed
    // instances are destroyed, the last entered first. Any thread.
    static void registerInstance(ISinglton* instance);
};

// One instance of T in the process, made on first use and destroyed at exit. T derives from
// Singlton<T> and lets it construct a T. An instance asked for after that destruction (by a thread
// that outlives main) is made anew.
template <class T>
class Singlton : public ISinglton {
  public:
    // Never null. Any thread.
    static T* instance() {
        T* found = s_instance.load(std::memory_order_acquire);
        return found != nullptr ? found : make();
    }

  protected:
    Singlton() = default;
    ~Singlton() override { s_instance.store(nullptr, std::memory_order_release); }

  private:
    static T* make() {
        // Never destroyed: a thread may still come here while the process ends.
        static MutexCell& constructionLock = *new (KD_HERE) MutexCell;
        static const int initialised = constructionLock.init();
        (void)initialised;
        constructionLock.lock();
        T* found = s_instance.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = new (KD_HERE) T;
            s_instance.store(found, std::memory_order_release);
            registerInstance(found);
        }
        constructionLock.unlock();
        return found;
    }

    static inline std::atomic<T*> s_instance{nullptr};
};
