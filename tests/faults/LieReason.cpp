#include "tests/faults/LieReason.h"

#include <algorithm>

const char kAcknowledgementForged[] = "any byte 06 counts as an acknowledgement";

namespace {

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// Whether the fault changes what comes from the MCUs at that place, or adds to it.
bool altersAnswer(const LineFault& fault) {
    switch (fault.kind) {
        case FaultKind::Flip:
        case FaultKind::Replace:
        case FaultKind::Duplicate:
        case FaultKind::Noise:
        case FaultKind::Drop:
        case FaultKind::Delay:
            return startsWith(fault.event, "mcu:") || startsWith(fault.event, "wait:");
        default:
            return false;
    }
}

bool anyAlters(const std::vector<LineFault>& faults, const std::string& answersTo) {
    return std::any_of(faults.begin(), faults.end(), [&answersTo](const LineFault& fault) {
        return altersAnswer(fault) && fault.event.find(":" + answersTo) != std::string::npos;
    });
}

}  // namespace

std::string lieReason(const Lie& lie) {
    if (lie.killed && lie.plan.markerBefore) {
        return "the marker of an earlier job stays when the tool is killed";
    }
    if (anyAlters(lie.happened, "version#") &&
        lie.note.find("Do not need update") != std::string::npos) {
        return "a version reply is accepted without its checksum";
    }
    if (lie.acknowledgementForged) {
        return kAcknowledgementForged;
    }
    return "";
}
