#include <ostream>

#include "tests/mcu/TickingClock.h"
#include "tests/mcu/XmodemFixture.h"

namespace {

// A silent line, on which each read returns at once.
class XmodemWait : public XmodemFixture {
  protected:
    void SetUp() override {
        XmodemFixture::SetUp();
        line.setReadTimeout(0);
    }

    const ImageFile file{{}};
    TickingClock clock;
};

// The look at the beginning, and one before each read.
constexpr int looksOf(int timeoutSeconds) {
    return 1 + timeoutSeconds + 1;
}

TEST_F(XmodemWait, EndsBeforeTheReadThatFindsItsTimeExceeded) {
    sender.setTimeout(4);

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    EXPECT_EQ(clock.looks(), looksOf(4));
}

TEST_F(XmodemWait, MayTakeFifteenSecondsUntilSet) {
    XmodemSender another;
    ASSERT_TRUE(another.open(line.path()));
    line.setReadTimeout(0);

    EXPECT_EQ(another.sendFile(file.path().c_str()), -2);

    EXPECT_EQ(clock.looks(), looksOf(15));
}

struct StepRow {
    const char* what;
    long seconds;
};

void PrintTo(const StepRow& row, std::ostream* out) {
    *out << row.what;
}

class XmodemWaitUnderAStep : public XmodemWait, public testing::WithParamInterface<StepRow> {};

TEST_P(XmodemWaitUnderAStep, IsNeitherEndedNorProlonged) {
    sender.setTimeout(4);
    clock.setBeforeLook(4, GetParam().seconds);

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    EXPECT_EQ(clock.looks(), looksOf(4));
}

INSTANTIATE_TEST_SUITE_P(Steps, XmodemWaitUnderAStep,
                         testing::Values(StepRow{"BackByMinutes", -100},
                                         StepRow{"BackByHours", -5L * 3600},
                                         StepRow{"OnBySeconds", 3}, StepRow{"OnByHours", 5L * 3600},
                                         StepRow{"OnByYears", 800000000}),
                         [](const auto& test) { return test.param.what; });

// No more than the clocks may be apart without a step.
TEST_F(XmodemWait, IsTwoSecondsShorterAtMostUnderASmallStep) {
    sender.setTimeout(4);
    clock.setBeforeLook(4, 2);

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    EXPECT_EQ(clock.looks(), looksOf(4) - 2);
}

}  // namespace
