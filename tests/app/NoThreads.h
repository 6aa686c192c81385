#pragma once

// While it lives, no thread can be made in this program; each one that is refused is told on
// standard output as "no thread".
class NoThreads {
  public:
    NoThreads();
    ~NoThreads();
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
};
