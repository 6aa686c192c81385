#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>

#include "app/MCUHardwareWatchDog.h"
#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "technic/TimeUtil.h"
#include "tests/app/FeedRequests.h"
#include "tests/app/JobFolder.h"
#include "tests/app/NoThreads.h"
#include "tests/app/SleepHook.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

constexpr char kOpened[] = "open(\"/dev/gpio_wtd\",O_WRONLY) success\n";
constexpr char kStarted[] = "____start GThreadWatchdog thread\n";
constexpr char kFed[] =
    "MCUHardwareWatchDog send GPIO_SET_WTD\nMCUHardwareWatchDog send GPIO_SET_WTD success\n";

constexpr char kNotFed[] =
    "MCUHardwareWatchDog send GPIO_SET_WTD\nMCUHardwareWatchDog send GPIO_SET_WTD error\n";

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

class WatchDog : public testing::Test {
  public:
    ~WatchDog() noexcept override = default;

  protected:
    void SetUp() override { UpdateNote::remove(); }

    MCUHardwareWatchDog watchdog;
};

// Its thread has a time of its own.
class SteppedWatchDog : public testing::Test {
  public:
    ~SteppedWatchDog() noexcept override = default;

  protected:
    void SetUp() override { UpdateNote::remove(); }
    void TearDown() override { time.release(); }

    SteppedTime time;
    MCUHardwareWatchDog watchdog;
};

TEST_F(SteppedWatchDog, FeedsAfterTwelveAndTwentyFourSeconds) {
    EXPECT_EQ(watchdog.start(), 0);
    time.passTo(11);
    EXPECT_EQ(noteText(), kStarted);
    time.passTo(12);
    EXPECT_EQ(noteText(), std::string(kStarted) + kFed);
    EXPECT_EQ(feedCount(), 1);
    time.passTo(23);
    EXPECT_EQ(feedCount(), 1);
    time.passTo(25);
    EXPECT_EQ(noteText(), std::string(kStarted) + kFed + kFed);
    EXPECT_EQ(feedCount(), 2);
}

class FailedFeed : public SteppedWatchDog, public testing::WithParamInterface<int> {};

TEST_P(FailedFeed, IsToldAndTriedAgainWhenTheNextIsDue) {
    EXPECT_EQ(watchdog.start(), 0);
    {
        const FeedRequests failing(GetParam());
        time.passTo(23);
        EXPECT_EQ(noteText(), std::string(kStarted) + kNotFed);
        EXPECT_EQ(failing.count(), 1);
    }
    time.passTo(24);
    EXPECT_EQ(noteText(), std::string(kStarted) + kNotFed + kFed);
}

INSTANTIATE_TEST_SUITE_P(Results, FailedFeed, testing::Values(-1, 1));

TEST_F(SteppedWatchDog, GivesTheRequestNoArgument) {
    const FeedRequests requests(0);
    EXPECT_EQ(watchdog.start(), 0);
    time.passTo(12);
    EXPECT_EQ(requests.count(), 1);
    EXPECT_EQ(requests.countWithArgument(), 0);
}

TEST_F(SteppedWatchDog, RefusesASecondStartAndGoesOn) {
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
    time.passTo(12);
    EXPECT_EQ(feedCount(), 1);
}

// The polls of the test's own thread are counted and skipped; the sleeps of another one last for
// ever.
class HungFeeder : public SleepHook {
  public:
    long beforeSleep(long milliseconds) override {
        if (gettid() != m_owner) {
            m_hangs.set_value();
            return kForEver;
        }
        if (milliseconds != kPollMilliseconds) {
            return milliseconds;
        }
        ++m_polls;
        return 0;
    }

    int polls() const { return m_polls; }
    // A thread that is stopped before it comes to its first sleep would just end.
    void waitUntilItHangs() { m_hangs.get_future().wait(); }

  private:
    static constexpr long kPollMilliseconds = 100;
    static constexpr long kForEver = 24L * 3600 * 1000;

    const pid_t m_owner = gettid();
    int m_polls = 0;
    std::promise<void> m_hangs;
};

TEST(WatchDogStop, KillsAThreadThatHasNotEndedWithinTwentySeconds) {
    HungFeeder hung;
    MCUHardwareWatchDog watchdog;
    EXPECT_EQ(watchdog.start(), 0);
    hung.waitUntilItHangs();
    std::string printed;
    {
        const OutputCapture output(1);
        watchdog.stop();
        printed = output.text();
    }
    EXPECT_EQ(hung.polls(), 200);
    EXPECT_FALSE(watchdog.isRunning());
    EXPECT_NE(printed.find("!!!!!!!!!!!!kill thread(GThreadWatchdog,"), std::string::npos);
}

TEST_F(WatchDog, HasThePriorityOfAnOrdinaryThread) {
    EXPECT_EQ(watchdog.getPriority(), 49);
}

TEST_F(WatchDog, OpensItsDeviceForWritingOnly) {
    EXPECT_EQ(watchdog.start(), 0);
    int flags = -1;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone) == device_paths::kWatchdogDevice) {
            flags = fcntl(std::stoi(entry.path().filename()), F_GETFL);
        }
    }
    ASSERT_NE(flags, -1);
    EXPECT_EQ(flags & (O_ACCMODE | O_NONBLOCK), O_WRONLY);
}

TEST_F(WatchDog, HasSentNoFeedAfterFiveSeconds) {
    const OutputCapture output(1);
    EXPECT_EQ(watchdog.start(), 0);
    sleepFor(5, 0);
    watchdog.stop();
    EXPECT_EQ(feedCount(), 0);
    EXPECT_EQ(noteText(), kStarted);
    EXPECT_EQ(output.text(), std::string(kOpened) + kStarted);
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
    EXPECT_EQ(output.text(), std::string(kOpened) + "no thread\nstart GThreadWatchdog failed..\n");
    EXPECT_EQ(noteText(), "start GThreadWatchdog failed..\n");
    EXPECT_EQ(openDescriptorCount(), before + 2);  // the capture's own two
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
