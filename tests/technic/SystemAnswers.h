#pragma once

#include <cstdint>

#include "tests/technic/TimeZone.h"

// What the system answers to this program's own code is replaced while one of these lives: for the
// thread that made it. Not to be nested. A test in which nobody asked meanwhile fails: it would
// show nothing.

// The wall clock stands still, in the given time zone.
class FixedWallClock {
  public:
    // `zone` is a value for TZ.
    FixedWallClock(const char* zone, std::int64_t seconds, std::int64_t microseconds = 0);
    ~FixedWallClock();
    FixedWallClock(const FixedWallClock&) = delete;
    FixedWallClock& operator=(const FixedWallClock&) = delete;

  private:
    const TimeZone m_zone;
};

// No open file tells its size.
class NoFileStatus {
  public:
    NoFileStatus();
    ~NoFileStatus();
    NoFileStatus(const NoFileStatus&) = delete;
    NoFileStatus& operator=(const NoFileStatus&) = delete;
};

// No limit or constant of the system can be asked for.
class NoSystemConstants {
  public:
    NoSystemConstants();
    ~NoSystemConstants();
    NoSystemConstants(const NoSystemConstants&) = delete;
    NoSystemConstants& operator=(const NoSystemConstants&) = delete;
};
