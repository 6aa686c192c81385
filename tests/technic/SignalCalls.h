#pragma once

#include <pthread.h>

#include <csignal>
#include <functional>
#include <vector>

// While it lives, no handler of this process is changed: what this program's own code asks for is
// remembered and refused. One at a time.
class RefusedHandlers {
  public:
    struct Request {
        int signo;
        struct sigaction action;
    };

    RefusedHandlers();
    ~RefusedHandlers();
    RefusedHandlers(const RefusedHandlers&) = delete;
    RefusedHandlers& operator=(const RefusedHandlers&) = delete;

    static const std::vector<Request>& requests();
};

// While it lives, `send` takes the place of pthread_kill for this program's own code. It may run on
// any thread. One at a time.
class SentSignals {
  public:
    explicit SentSignals(std::function<int(pthread_t, int)> send);
    ~SentSignals();
    SentSignals(const SentSignals&) = delete;
    SentSignals& operator=(const SentSignals&) = delete;
};
