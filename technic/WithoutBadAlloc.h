#pragma once

#include <new>

// Does what `action` does as far as there is memory for it; the rest is left out. For reports and
// the like, for whose sake a thread must not be left running.
template <class Action>
void withoutBadAlloc(const Action& action) {
    try {
        action();
    } catch (const std::bad_alloc&) {
        return;
    }
}
