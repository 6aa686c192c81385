#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <typeinfo>

#include "technic/KdRuntimeError.h"
#include "technic/SafePointerRecord.h"
#include "technic/SafePointerRegistry.h"

// Common base of all SafePointers. A release may throw, so the destructor of a handle may, and so
// may the implicit destructor of a class that holds one. Where such a class derives from a base
// whose virtual destructor must not throw, it declares `~Derived() noexcept override = default;`: a
// failed release inside it then ends the program.
class BaseSafePointer {
  public:
    BaseSafePointer() = default;
    BaseSafePointer(const BaseSafePointer&) = default;
    BaseSafePointer& operator=(const BaseSafePointer&) = default;
    virtual ~BaseSafePointer() noexcept(false) {}
};

// Reference-counted owning handle. The object is destroyed with delete when its last handle goes.
// A handle is made from an object and is never empty before it is released.
//
// Handles of one object may be copied and released on any thread; one handle must not be assigned
// on two threads at once. Misuse throws KdRuntimeError; where noted "reports", the text
// "SafePointer Report:" + type name + " " + message is printed to standard output first.
template <class T>
class SafePointer : public BaseSafePointer {
  public:
    // Takes ownership. Reports when `object` is null. Throws when the registry is full; the object
    // is destroyed then.
    SafePointer(T* object) : m_object(object), m_record(nullptr) {
        if (object == nullptr) {
            report("Construct from NULL original pointer");
        }
        std::unique_ptr<T> untilBound(object);
        m_record = SafePointerRegistry::instance().allocate(address(), typeName());
        (void)untilBound.release();  // this handle owns it now
    }

    // Reports when `other` was released; throws when it does not belong to its record.
    SafePointer(const SafePointer& other) : BaseSafePointer(other) {
        if (other.m_object == nullptr) {
            report("Construct from NULL <T>pointer");
        }
        takeReference(other.m_record, other.address());
        m_object = other.m_object;
        m_record = other.m_record;
    }

    SafePointer& operator=(const SafePointer& other) {
        if (this == &other) {
            return *this;
        }
        if (other.m_object == nullptr) {
            report("Assigned NULL <T>pointer");
        }
        release();
        m_object = nullptr;
        takeReference(other.m_record, other.address());
        m_object = other.m_object;
        m_record = other.m_record;
        return *this;
    }

    // A handle of the same object under another type. Throws KdRuntimeError when the object is not
    // a T; the count then stays one too high and the object is never destroyed. The T must begin
    // at the same address as the object that the first handle was made from: a handle of any other
    // part of it fails its consistency checks.
    template <class U>
    SafePointer(const SafePointer<U>& other) {
        if (other.m_object == nullptr) {
            report("dynamic pointer cast NULL pointer");
        }
        takeReference(other.m_record, other.address());
        T* cast = dynamic_cast<T*>(other.m_object);
        if (cast == nullptr) {
            throw KdRuntimeError(std::string("can't dynmic_cast!,src type is(") +
                                 SafePointer<U>::typeName() + "),dest type is(" + typeName() + ")");
        }
        m_object = cast;
        m_record = other.m_record;
    }

    ~SafePointer() noexcept(false) override { release(); }

    T* operator->() const { return checked(); }
    T& operator*() const { return *checked(); }

    T* get() const { return m_object; }
    bool isNull() const { return m_object == nullptr; }

  private:
    template <class U>
    friend class SafePointer;

    static const char* typeName() { return typeid(T).name(); }

    [[noreturn]] static void report(const char* message) {
        const std::string text = std::string("SafePointer Report:") + typeName() + " " + message;
        std::puts(text.c_str());
        throw KdRuntimeError(text);
    }

    // Compared, never followed: the object may be gone.
    const void* address() const { return m_object; }

    T* checked() const {
        if (m_object == nullptr) {
            report("Use NULL pointer ->");
        }
        return m_object;
    }

    // On the way out by "not valid pointer" the record's mutex stays locked.
    static void takeReference(SafePointerRecord* record, const void* object) {
        if (record == nullptr) {
            report("Already destructed 1");
        }
        if (record->lock() != 0) {
            report("Already destructed 2");
        }
        if (record->getObject() != object) {
            throw KdRuntimeError("not valid pointer in inc_reference ");
        }
        if (record->increment() == 0) {
            record->unlock();
            report("Already destructed 3");
        }
        record->unlock();
    }

    void release() {
        if (m_object == nullptr) {
            return;
        }
        m_record->lock();
        if (m_record->getObject() != address()) {
            throw KdRuntimeError("not valid pointer in dec_reference");
        }
        if (m_record->decrement() == 0) {
            delete m_object;
            m_object = nullptr;
            SafePointerRegistry::instance().free(m_record, typeName());
        }
        m_record->unlock();
    }

    T* m_object = nullptr;
    SafePointerRecord* m_record = nullptr;
};
