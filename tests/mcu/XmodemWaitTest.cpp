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

TEST_F(XmodemWait, IsNotProlongedByAClockThatIsSetBack) {
    sender.setTimeout(4);
    clock.setBackBeforeLook(4);

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    EXPECT_EQ(clock.looks(), 3 + looksOf(4));
}

}  // namespace
