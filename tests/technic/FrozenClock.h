#pragma once

// Stops the tick clock of this process, from construction to destruction.
class FrozenClock {
  public:
    FrozenClock();
    ~FrozenClock();
    FrozenClock(const FrozenClock&) = delete;
    FrozenClock& operator=(const FrozenClock&) = delete;

    // Moves the clock on. Any thread.
    static void advance(long seconds);
};
