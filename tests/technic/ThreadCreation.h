#pragma once

#include <functional>

// Watches how this process makes its threads, from construction to destruction. One at a time.
class ThreadCreation {
  public:
    struct Attributes {
        int detachState;
        int inheritance;
        int policy;
        int priority;
    };

    // `made` runs when a thread has been made, before its maker goes on.
    explicit ThreadCreation(std::function<void()> made = [] {});
    ~ThreadCreation();
    ThreadCreation(const ThreadCreation&) = delete;
    ThreadCreation& operator=(const ThreadCreation&) = delete;

    // From now on threads cannot be made.
    static void refuse();
    // What the last one was asked for with.
    static Attributes attributes();
};
