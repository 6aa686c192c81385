#include "tests/faults/RandomFaults.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <ostream>

#include "tests/faults/SweepPlan.h"

namespace {

constexpr int kMostFaults = 6;
constexpr int kMostLater = 3;

struct Range {
    int least;
    int most;
};

Range parametersOf(FaultKind kind) {
    switch (kind) {
        case FaultKind::Flip:
            return {0, 7};
        case FaultKind::Replace:
            return {0, 255};
        case FaultKind::Noise:
            return {1, 40};
        case FaultKind::Delay:
            return {1, kLongDelaySeconds + kShortDelaySeconds};
        case FaultKind::Unplug:
            return {0, kLongDelaySeconds};
        default:
            return {0, 0};
    }
}

// As if every range were generated at full size: RapidCheck makes ranges smaller at first.
int oneOf(Range range) {
    return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange(range.least, range.most + 1));
}

// "tool:version#1:3" becomes "tool:version#3:3" for two later.
std::string later(const std::string& event, int by) {
    const std::size_t number = event.rfind('#');
    if (number == std::string::npos) {
        return event;
    }
    const std::size_t end = event.find(':', number);
    const int count = std::stoi(event.substr(number + 1, end - number - 1));
    return fmt::format("{}#{}{}", event.substr(0, number), count + by, event.substr(end));
}

// What alters single bytes comes more often than what ends everything.
rc::Gen<FaultKind> anyKind() {
    return rc::gen::weightedElement<FaultKind>({{6, FaultKind::Drop},
                                                {6, FaultKind::Flip},
                                                {6, FaultKind::Replace},
                                                {6, FaultKind::Duplicate},
                                                {6, FaultKind::Noise},
                                                {3, FaultKind::Delay},
                                                {3, FaultKind::PowerCycle},
                                                {2, FaultKind::Unplug},
                                                {1, FaultKind::Silence},
                                                {1, FaultKind::Kill}});
}

}  // namespace

rc::Gen<std::vector<LineFault>> anyFaults(const std::vector<std::string>& events) {
    // The thousands of data bytes do not crowd out the others.
    std::vector<std::string> places;
    std::copy_if(events.begin(), events.end(), std::back_inserter(places),
                 [](const std::string& event) { return !planSweep({event}).empty(); });
    const auto fault = rc::gen::exec([places] {
        LineFault made;
        made.kind = *anyKind();
        made.parameter = oneOf(parametersOf(made.kind));
        made.event = later(*rc::gen::elementOf(places), oneOf({0, kMostLater}));
        return made;
    });
    return rc::gen::resize(kMostFaults,
                           rc::gen::nonEmpty(rc::gen::container<std::vector<LineFault>>(fault)));
}

void showValue(const LineFault& fault, std::ostream& out) {
    out << specOf(fault);
}
