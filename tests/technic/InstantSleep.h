#pragma once

#include <functional>
#include <vector>

// While it lives, every sleep of this process of 100 ms or more ends at once and is remembered;
// shorter ones are slept. A sleep stays a place where its thread can be cancelled. One at a time.
class InstantSleep {
  public:
    // `inSleep` runs in every such sleep, on the thread that sleeps, with the number of sleeps so
    // far.
    explicit InstantSleep(std::function<void(std::size_t)> inSleep = [](std::size_t) {});
    ~InstantSleep();
    InstantSleep(const InstantSleep&) = delete;
    InstantSleep& operator=(const InstantSleep&) = delete;

    // The sleeps so far, in milliseconds.
    static std::vector<long> taken();
};
