#pragma once

#include <string>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/SimClock.h"

enum class Direction { ToMcu, FromMcu, Event };

// One complete thing that crossed the line, or that happened inside an MCU.
struct Record {
    Time time{0};
    Direction direction = Direction::Event;
    std::string mcu;  // empty when no single MCU is meant
    std::string meaning;
    Bytes bytes;
    std::string detail;
    std::string fault;
};
