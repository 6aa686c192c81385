#include "simulator/mcu/OnTheWay.h"

#include <algorithm>

Bytes inPlaceOf(std::uint8_t byte, std::size_t position, std::size_t length,
                const std::vector<Fault>& faults) {
    Bytes before;
    Bytes after;
    bool lost = false;
    for (const Fault& fault : faults) {
        const std::size_t at = fault.count;
        if (fault.action == FaultAction::Insert && at == position) {
            before.insert(before.end(), fault.bytes.begin(), fault.bytes.end());
        } else if (fault.action == FaultAction::Insert && position + 1 == length && at >= length) {
            after.insert(after.end(), fault.bytes.begin(), fault.bytes.end());
        } else if (fault.action == FaultAction::Lose && position >= at &&
                   position - at < fault.length) {
            lost = true;
        } else if (fault.action == FaultAction::Damage && at == position) {
            byte ^= fault.mask;
        }
    }
    Bytes arriving = std::move(before);
    if (!lost) {
        arriving.push_back(byte);
    }
    arriving.insert(arriving.end(), after.begin(), after.end());
    return arriving;
}

Bytes onTheWay(const Bytes& block, const std::vector<Fault>& faults) {
    Bytes arriving;
    for (std::size_t position = 0; position < block.size(); ++position) {
        const Bytes part = inPlaceOf(block[position], position, block.size(), faults);
        arriving.insert(arriving.end(), part.begin(), part.end());
    }
    return arriving;
}
