#pragma once

#include <atomic>
#include <memory>

#include "technic/SafePointer.h"

// Objects for handles, in the global namespace so that their run-time names are plain.

class SafePointerAnimal {
  public:
    virtual ~SafePointerAnimal() { ++destroyed; }
    virtual const char* sound() const { return "none"; }

    static inline std::atomic<int> destroyed{0};
};

class SafePointerDog : public SafePointerAnimal {
  public:
    const char* sound() const override { return "bark"; }
};

// Owns the next object of a chain, if there is one.
class SafePointerLink {
  public:
    SafePointerLink() = default;
    explicit SafePointerLink(const SafePointer<SafePointerLink>& next)
        : m_next(std::make_unique<SafePointer<SafePointerLink>>(next)) {}
    virtual ~SafePointerLink() { ++destroyed; }

    static inline std::atomic<int> destroyed{0};

  private:
    std::unique_ptr<SafePointer<SafePointerLink>> m_next;
};

// Another handle of the same object.
template <class T>
SafePointer<T> copyOf(const SafePointer<T>& handle) {
    return handle;
}
