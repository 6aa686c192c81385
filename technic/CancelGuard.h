#pragma once

#include <pthread.h>

// While it lives, the calling thread is not cancelled. For destructors and other places that an
// unwinding thread must not leave half way.
class CancelGuard {
  public:
    CancelGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~CancelGuard() { pthread_setcancelstate(m_before, nullptr); }
    CancelGuard(const CancelGuard&) = delete;
    CancelGuard& operator=(const CancelGuard&) = delete;

  private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};
