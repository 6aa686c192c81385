#pragma once

#include <list>

#include "technic/KdRuntimeError.h"
#include "technic/SafePointer.h"
#include "tests/technic/StdoutCapture.h"

// Holds every handle that the process can have, so that the next one is refused.
class FullPool {
  public:
    FullPool() {
        const StdoutCapture quiet;
        try {
            while (true) {
                m_handles.emplace_back(new int(0));
            }
        } catch (const KdRuntimeError&) {
            return;
        }
    }
    ~FullPool() {
        const StdoutCapture quiet;
        m_handles.clear();
    }
    FullPool(const FullPool&) = delete;
    FullPool& operator=(const FullPool&) = delete;

  private:
    std::list<SafePointer<int>> m_handles;
};
