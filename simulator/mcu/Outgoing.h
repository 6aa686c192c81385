#pragma once

#include <string>
#include <vector>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/FaultScript.h"
#include "simulator/mcu/SimClock.h"

// Something that an MCU puts on the line, with what the transcript says of it.
struct Outgoing {
    std::string mcu;
    std::string meaning;  // "version reply", "ACK" and so on
    std::string detail;   // what it says, in words; may be empty
    Bytes bytes;
    std::string fault;  // the faults that it met, separated by blanks; usually empty
    Time notBefore{0};
};

// What an answer becomes under the faults it meets, in the order in which it goes on the line:
// dropped, delayed, cut, altered, repeated, with noise around it. An answer without bytes stays
// away, but not the noise.
std::vector<Outgoing> underFaults(const Outgoing& answer, const std::vector<Fault>& faults,
                                  Time now);
