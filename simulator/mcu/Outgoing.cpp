#include "simulator/mcu/Outgoing.h"

#include <algorithm>

namespace {

Outgoing noiseOf(const Fault& fault, const std::string& mcu) {
    Outgoing noise;
    noise.mcu = mcu;
    noise.meaning = "noise";
    noise.bytes = fault.bytes;
    noise.fault = fault.name;
    return noise;
}

void alter(Outgoing& answer, const Fault& fault) {
    if (fault.action == FaultAction::Truncate) {
        answer.bytes.resize(std::min(answer.bytes.size(), fault.count));
    } else if (fault.action == FaultAction::Flip && fault.count < answer.bytes.size()) {
        answer.bytes[fault.count] ^= fault.mask;
    } else if (fault.action == FaultAction::Drop) {
        answer.bytes.clear();
    }
}

}  // namespace

std::vector<Outgoing> underFaults(const Outgoing& answer, const std::vector<Fault>& faults,
                                  Time now) {
    std::vector<Outgoing> before;
    std::vector<Outgoing> after;
    Outgoing altered = answer;
    std::size_t copies = 1;
    Time notBefore = now;
    for (const Fault& fault : faults) {
        if (fault.action == FaultAction::Noise) {
            (fault.before ? before : after).push_back(noiseOf(fault, answer.mcu));
            continue;
        }
        altered.fault += (altered.fault.empty() ? "" : " ") + fault.name;
        alter(altered, fault);
        copies += fault.action == FaultAction::Duplicate ? fault.count : 0;
        notBefore += fault.action == FaultAction::Delay ? fault.duration : Time(0);
    }

    std::vector<Outgoing> all = std::move(before);
    if (!altered.bytes.empty()) {
        all.insert(all.end(), copies, altered);
    }
    all.insert(all.end(), after.begin(), after.end());
    for (Outgoing& outgoing : all) {
        outgoing.notBefore = notBefore;
    }
    return all;
}
