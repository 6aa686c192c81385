#pragma once

#include <pthread.h>

#include <atomic>

#include "technic/KdMutex.h"

// What a thread and its owner share. It lives until both are done with it, so that the thread's
// last unlock is sound whatever the owner does meanwhile.
struct KdThreadState {
    pthread_t handle = 0;
    int result = 0;
    bool running = false;
    std::atomic<int> tid{0};
    // Guards handle, result and running.
    KdMutex stateLock;
    // Held by the starter while it creates the thread.
    KdMutex startLock;
    // Held by the new thread until its run() begins.
    KdMutex runGate;
    // Touched by the new thread alone.
    bool gateIsHeld = false;
    // Set by the thread when it has left run(), returning or unwinding: it does not touch its
    // owner's members from then on.
    std::atomic<bool> left{true};

    // On the new thread.
    void closeGate() {
        runGate.lock(KD_HERE);
        gateIsHeld = true;
    }
    // On the thread that closed it; nothing when it is open.
    void openGate() {
        if (gateIsHeld) {
            gateIsHeld = false;
            runGate.unlock(KD_HERE);
        }
    }
};
