#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "app/MCUHardwareWatchDog.h"
#include "mcu/UpdateNote.h"
#include "technic/TimeUtil.h"
#include "tests/app/JobFolder.h"
#include "tests/app/NoThreads.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

constexpr char kOpened[] = "open(\"/dev/gpio_wtd\",O_WRONLY) success\n";
constexpr char kStarted[] = "____start GThreadWatchdog thread\n";
constexpr char kFed[] =
    "MCUHardwareWatchDog send GPIO_SET_WTD\nMCUHardwareWatchDog send GPIO_SET_WTD success\n";

// The feeds that the watchdog's driver has seen.
long feedCount() {
    const std::string log = readFile(std::getenv("DEVICE_SHIM_FEED_LOG"));
    return std::count(log.begin(), log.end(), '\n');
}

// While it lives, nothing can be opened.
class NoDescriptors {
  public:
    NoDescriptors() {
        (void)getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        (void)setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { (void)setrlimit(RLIMIT_NOFILE, &m_before); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    rlimit m_before{};
};

// Feeds come after 12, 24 and 36 seconds, and a little later on a busy machine: the tests look in
// the middle between two.
class WatchDog : public testing::Test {
  public:
    ~WatchDog() noexcept override = default;

  protected:
    void SetUp() override { UpdateNote::remove(); }

    MCUHardwareWatchDog watchdog;
};

TEST_F(WatchDog, HasSentNoFeedAfterFiveSeconds) {
    const OutputCapture output(1);
    EXPECT_EQ(watchdog.start(), 0);
    sleepFor(5, 0);
    watchdog.stop();
    EXPECT_EQ(feedCount(), 0);
    EXPECT_EQ(noteText(), kStarted);
    EXPECT_EQ(output.text(), std::string(kOpened) + kStarted);
}

TEST_F(WatchDog, HasSentTwoFeedsAfterThirtySeconds) {
    EXPECT_EQ(watchdog.start(), 0);
    sleepFor(30, 0);
    watchdog.stop();
    EXPECT_EQ(feedCount(), 2);
    EXPECT_EQ(noteText(), std::string(kStarted) + kFed + kFed);
}

TEST_F(WatchDog, IsClosedAndStillAfterItsStop) {
    const std::size_t before = openDescriptorCount();
    EXPECT_EQ(watchdog.start(), 0);
    watchdog.stop();
    EXPECT_FALSE(watchdog.isRunning());
    EXPECT_LE(openDescriptorCount(), before + 1);  // the note stays open
    sleepFor(15, 0);
    EXPECT_EQ(feedCount(), 0);
}

TEST_F(WatchDog, RefusesASecondStartAndGoesOn) {
    UpdateNote::log("");  // the note stays open from here on
    EXPECT_EQ(watchdog.start(), 0);
    const std::size_t before = openDescriptorCount();
    {
        const OutputCapture output(1);
        EXPECT_EQ(watchdog.start(), -11);
        EXPECT_EQ(
            output.text(),
            std::string(kOpened) + "start GThreadWatchdog failed,\tGThreadWatchdog is running..\n");
    }
    EXPECT_EQ(openDescriptorCount(), before);
    sleepFor(18, 0);
    EXPECT_EQ(feedCount(), 1);
    watchdog.stop();
}

TEST_F(WatchDog, CanBeStartedAgainAfterAStop) {
    EXPECT_EQ(watchdog.start(), 0);
    watchdog.stop();
    EXPECT_EQ(watchdog.start(), 0);
    sleepFor(18, 0);
    watchdog.stop();
    EXPECT_EQ(feedCount(), 1);
    EXPECT_EQ(noteText(), std::string(kStarted) + kStarted + kFed);
}

TEST_F(WatchDog, DoesNotStartWithoutItsDevice) {
    const OutputCapture output(1);
    {
        const NoDescriptors none;
        EXPECT_EQ(watchdog.start(), -12);
    }
    EXPECT_FALSE(watchdog.isRunning());
    EXPECT_EQ(output.text(), "open(\"/dev/gpio_wtd\",O_WRONLY) error\n");
    EXPECT_EQ(noteText(), "");
}

TEST_F(WatchDog, DoesNotStartAndHoldsNoDeviceWithoutAThread) {
    UpdateNote::log("");  // the note stays open from here on
    const std::size_t before = openDescriptorCount();
    const OutputCapture output(1);
    {
        const NoThreads none;
        EXPECT_EQ(watchdog.start(), -12);
    }
    EXPECT_FALSE(watchdog.isRunning());
    EXPECT_EQ(output.text(), std::string(kOpened) + "start GThreadWatchdog failed..\n");
    EXPECT_EQ(noteText(), "start GThreadWatchdog failed..\n");
    EXPECT_EQ(openDescriptorCount(), before + 2);  // the capture's own two
}

TEST_F(WatchDog, GoesOnFeedingAfterAFailedFeed) {
    ASSERT_EQ(setenv("DEVICE_SHIM_WATCHDOG", "fail", 1), 0);
    EXPECT_EQ(watchdog.start(), 0);
    sleepFor(30, 0);
    watchdog.stop();
    const std::string failed =
        "MCUHardwareWatchDog send GPIO_SET_WTD\nMCUHardwareWatchDog send GPIO_SET_WTD error\n";
    EXPECT_EQ(noteText(), kStarted + failed + failed);
}

TEST_F(WatchDog, CanBeStoppedWithoutAStart) {
    watchdog.stop();
    EXPECT_FALSE(watchdog.isRunning());
}

TEST(WatchDogLifetime, EndsTheThreadWithTheObject) {
    {
        MCUHardwareWatchDog watchdog;
        EXPECT_EQ(watchdog.start(), 0);
    }
    sleepFor(15, 0);
    EXPECT_EQ(feedCount(), 0);
}

}  // namespace
