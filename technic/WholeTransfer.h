#pragma once

#include <cerrno>
#include <cstddef>

// Moves `length` bytes by `step(offset, rest)`, which moves a part of the `rest` bytes from
// `offset` on and returns what read and write return: how many it moved, 0 at the end, -1 with
// errno. A step that a signal interrupts is tried again. Returns whether all bytes were moved.
template <class Step>
bool transferWhole(std::size_t length, const Step& step) {
    std::size_t moved = 0;
    while (moved < length) {
        const auto count = step(moved, length - moved);
        if (count > 0) {
            moved += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}
