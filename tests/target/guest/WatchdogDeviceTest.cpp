#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

// The machine's own watchdog device, as any program meets it.
namespace {

constexpr char kDevice[] = "/dev/gpio_wtd";
constexpr unsigned long kFeed = 0xC028670E;
constexpr unsigned long kOtherRequest = 0xC028670F;

class WatchdogDevice : public testing::Test {
  protected:
    void TearDown() override { (void)close(m_fd); }

    // 0, or the reason why the request is refused.
    int request(unsigned long number, void* argument) const {
        return ioctl(m_fd, number, argument) == 0 ? 0 : errno;
    }

    const int m_fd = open(kDevice, O_WRONLY | O_CLOEXEC);
    int m_argument = 0;
};

TEST_F(WatchdogDevice, TakesAFeedWithoutAnArgument) {
    EXPECT_EQ(request(kFeed, nullptr), 0);
}

TEST_F(WatchdogDevice, RefusesAFeedWithAnArgument) {
    EXPECT_EQ(request(kFeed, &m_argument), EINVAL);
}

TEST_F(WatchdogDevice, RefusesEveryOtherRequest) {
    EXPECT_EQ(request(kOtherRequest, nullptr), ENOTTY);
    EXPECT_EQ(request(kOtherRequest, &m_argument), ENOTTY);
    EXPECT_EQ(request(0, nullptr), ENOTTY);
}

class WatchdogDeviceMode : public testing::TestWithParam<int> {};

TEST_P(WatchdogDeviceMode, OfReadingIsRefused) {
    EXPECT_EQ(open(kDevice, GetParam() | O_CLOEXEC), -1);
    EXPECT_EQ(errno, EACCES);
}

INSTANTIATE_TEST_SUITE_P(All, WatchdogDeviceMode, testing::Values(O_RDONLY, O_RDWR));

}  // namespace
