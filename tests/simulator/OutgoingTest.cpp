#include "simulator/mcu/Outgoing.h"

#include <gmock/gmock.h>

namespace {

using std::chrono::milliseconds;

Fault faultOf(FaultAction action, std::size_t count = 0, std::uint8_t mask = 0xFF) {
    Fault fault;
    fault.action = action;
    fault.name = "fault";
    fault.count = count;
    fault.mask = mask;
    return fault;
}

Fault noise(const Bytes& bytes, bool before) {
    Fault fault = faultOf(FaultAction::Noise);
    fault.bytes = bytes;
    fault.before = before;
    return fault;
}

struct FaultCase {
    const char* claim;
    std::vector<Fault> faults;
    std::vector<std::string> line;
};

void PrintTo(const FaultCase& row, std::ostream* out) {
    *out << row.claim;
}

class AnswerUnderFaults : public testing::TestWithParam<FaultCase> {};

TEST_P(AnswerUnderFaults, GoesOnTheLineAsTold) {
    Outgoing answer;
    answer.meaning = "state reply";
    answer.bytes = {1, 2, 3};
    std::vector<std::string> line;
    for (const Outgoing& part : underFaults(answer, GetParam().faults, Time(0))) {
        line.push_back(toHex(part.bytes));
    }
    EXPECT_EQ(line, GetParam().line) << GetParam().claim;
}

INSTANTIATE_TEST_SUITE_P(
    Table, AnswerUnderFaults,
    testing::Values(
        FaultCase{"none", {}, {"010203"}}, FaultCase{"drop", {faultOf(FaultAction::Drop)}, {}},
        FaultCase{"truncate", {faultOf(FaultAction::Truncate, 2)}, {"0102"}},
        FaultCase{"truncate to more than all", {faultOf(FaultAction::Truncate, 9)}, {"010203"}},
        FaultCase{"truncate to nothing", {faultOf(FaultAction::Truncate, 0)}, {}},
        FaultCase{"flip", {faultOf(FaultAction::Flip, 1, 0x80)}, {"018203"}},
        FaultCase{"flip past the end", {faultOf(FaultAction::Flip, 3)}, {"010203"}},
        FaultCase{
            "duplicate", {faultOf(FaultAction::Duplicate, 2)}, {"010203", "010203", "010203"}},
        FaultCase{"noise before", {noise({9}, true)}, {"09", "010203"}},
        FaultCase{"noise after", {noise({9}, false)}, {"010203", "09"}},
        FaultCase{"noise instead", {faultOf(FaultAction::Drop), noise({9}, false)}, {"09"}},
        FaultCase{"two flips",
                  {faultOf(FaultAction::Flip, 0), faultOf(FaultAction::Flip, 2)},
                  {"fe02fc"}}));

TEST(DelayedAnswer, ComesLaterByTheSumOfItsDelays) {
    Fault delay = faultOf(FaultAction::Delay);
    delay.duration = milliseconds(30);
    Outgoing answer;
    answer.bytes = {1};
    const auto parts = underFaults(answer, {delay, delay}, milliseconds(100));
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].notBefore, milliseconds(160));
    EXPECT_EQ(parts[0].fault, "fault fault");
}

}  // namespace
