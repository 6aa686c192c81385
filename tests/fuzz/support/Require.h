#pragma once

#include <ctime>

// Ends the program as a sanitizer's finding does when `holds` is false; `claim` says what should
// have held. Works with standard error closed.
void require(bool holds, const char* claim);

// Requires of the block in which it lives that it takes little processor time, however long the
// program is kept from the processor. A hang ends by the fuzzer's own time limit.
class LittleTime {
  public:
    LittleTime();
    ~LittleTime();
    LittleTime(const LittleTime&) = delete;
    LittleTime& operator=(const LittleTime&) = delete;

  private:
    std::clock_t m_begin;
};
