#pragma once

#include "technic/SafePointer.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

// Callables without arguments, through which a function or a member function becomes a thread's
// work.

// What a function<R> holds.
template <class R>
class function_obj_base {
  public:
    virtual ~function_obj_base() = default;
    virtual R call() = 0;
};

// Holder of a callable F: a plain function pointer or a bind_funcobj0.
template <class R, class F>
class function_obj : public function_obj_base<R> {
  public:
    explicit function_obj(F callable) : m_callable(callable) {}
    R call() override { return m_callable(); }

  private:
    F m_callable;
};

// A member function without arguments bound to an object, which is not owned and must outlive every
// call.
template <class R, class T>
class bind_funcobj0 {
  public:
    bind_funcobj0(T* object, R (T::*member)()) : m_object(object), m_member(member) {}
    R operator()() { return (m_object->*m_member)(); }

  private:
    T* m_object;
    R (T::*m_member)();
};

// A callable as a value; copies share the holder.
template <class R>
class function {
  public:
    function(R (*plain)()) : m_holder(new (KD_HERE) function_obj<R, R (*)()>(plain)) {}

    template <class T>
    function(const bind_funcobj0<R, T>& bound)
        : m_holder(new (KD_HERE) function_obj<R, bind_funcobj0<R, T>>(bound)) {}

    R operator()() { return m_holder->call(); }

  private:
    SafePointer<function_obj_base<R>> m_holder;
};
