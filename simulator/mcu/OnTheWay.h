#pragma once

#include <vector>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/FaultScript.h"

// What reaches the receiver in place of the byte at `position` of a block or an EOT of `length`
// bytes, under the faults that alter these on their way: other bits, no byte, further bytes.
Bytes inPlaceOf(std::uint8_t byte, std::size_t position, std::size_t length,
                const std::vector<Fault>& faults);

// The same of a whole block.
Bytes onTheWay(const Bytes& block, const std::vector<Fault>& faults);
