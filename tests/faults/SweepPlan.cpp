#include "tests/faults/SweepPlan.h"

#include <fmt/format.h>

#include <set>

namespace {

constexpr int kBits = 8;
constexpr int kMostNoise = 40;
constexpr int kStartByte = 0xFE;
constexpr int kEndByte = 0xFF;

constexpr int kFirstData = 3;
constexpr int kLastData = 1026;

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

int placeOf(const std::string& event) {
    return std::stoi(event.substr(event.rfind(':') + 1));
}

bool isStandIn(const std::string& event) {
    if (!startsWith(event, "tool:block#")) {
        return false;
    }
    const int place = placeOf(event);
    return place > kFirstData && place < kLastData && (place - kFirstData) % kDataStride != 0;
}

// Which of `count` variants is the event's; every event has one of its own choice.
int chosen(const std::string& event, int count) {
    return static_cast<int>(hashOf(event) % static_cast<std::uint32_t>(count));
}

class Plans {
  public:
    explicit Plans(std::vector<FaultPlan>& plans) : m_plans(plans) {}

    void add(FaultKind kind, const std::string& event, int parameter = 0) {
        m_plans.push_back({{{kind, parameter, event}}, false, 0});
    }

    void addAll(const std::string& event) {
        if (startsWith(event, "tool:")) {
            add(FaultKind::Flip, event, chosen(event, kBits));
            addByteFaults(event);
        } else if (startsWith(event, "mcu:")) {
            for (int bit = 0; bit < kBits; ++bit) {
                add(FaultKind::Flip, event, bit);
            }
            addByteFaults(event);
            add(FaultKind::Delay, event, kShortDelaySeconds);
            add(FaultKind::Delay, event, kLongDelaySeconds);
        }
        addFaultsOfAnyMoment(event);
    }

  private:
    void addByteFaults(const std::string& event) {
        add(FaultKind::Drop, event);
        add(FaultKind::Replace, event, kStartByte);
        add(FaultKind::Replace, event, kEndByte);
        add(FaultKind::Duplicate, event);
    }

    void addFaultsOfAnyMoment(const std::string& event) {
        add(FaultKind::Noise, event, 1 + chosen(event, kMostNoise));
        add(FaultKind::Silence, event);
        add(FaultKind::PowerCycle, event);
        add(FaultKind::Kill, event);
        add(FaultKind::Unplug, event, kReplugSeconds);
        // The marker of an earlier job must go when this one fails, and cannot when it is killed.
        m_plans.push_back({{{FaultKind::Kill, 0, event}}, true, 0});
        m_plans.push_back({{{FaultKind::Unplug, 0, event}}, true, 0});
    }

    std::vector<FaultPlan>& m_plans;
};

// Each of these blocks, of all that are sent, is damaged.
FaultPlan damaged(int first, int last) {
    FaultPlan plan;
    for (int block = first; block <= last; ++block) {
        plan.faults.push_back({FaultKind::Flip, 0, fmt::format("tool:block#{}:500", block)});
    }
    return plan;
}

}  // namespace

std::vector<FaultPlan> planSweep(const std::vector<std::string>& events) {
    std::vector<FaultPlan> plans;
    Plans adder(plans);
    std::set<std::string> planned;
    for (const std::string& event : events) {
        if (!isStandIn(event) && planned.insert(event).second) {
            adder.addAll(event);
        }
    }
    return plans;
}

std::vector<FaultPlan> planRepeats() {
    // A block is sent twelve times at most; the first of the second block is the second of all.
    FaultPlan eleven = damaged(2, 12);
    eleven.attempts = UpdateDevice::kEntries;
    FaultPlan twelve = damaged(2, 13);
    twelve.attempts = UpdateDevice::kEntries + 1;
    FaultPlan twiceSix = damaged(2, 7);
    const FaultPlan sixMore = damaged(9, 14);
    twiceSix.faults.insert(twiceSix.faults.end(), sixMore.faults.begin(), sixMore.faults.end());
    twiceSix.attempts = UpdateDevice::kEntries;
    const FaultPlan always{{{FaultKind::Garble, 0, "tool:block#2:0"}}, false, 0};
    return {eleven, twelve, twiceSix, always};
}
