#include "app/StandardStreams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr int kStreams = 3;

int lowestFreeDescriptor() {
    const int descriptor = ::open("/dev/null", O_RDONLY);
    (void)::close(descriptor);
    return descriptor;
}

// For a process of its own: ends with 0 when no descriptor up to 2 is left for a device, although
// those whose bit is set in `closed` were missing, and 1 otherwise.
[[noreturn]] void startWithout(unsigned closed) {
    for (int stream = 0; stream < kStreams; ++stream) {
        if ((closed & (1U << stream)) != 0) {
            (void)::close(stream);
        }
    }
    fillStandardStreams();
    ::_exit(lowestFreeDescriptor() >= kStreams ? 0 : 1);
}

class MissingStandardStreams : public testing::TestWithParam<unsigned> {};

TEST_P(MissingStandardStreams, LeaveNoStandardDescriptorForADevice) {
    EXPECT_EXIT(startWithout(GetParam()), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(All, MissingStandardStreams, testing::Range(0U, 8U));

TEST(StandardStreams, KeepNoDescriptorOfTheirOwnWhenNoneIsMissing) {
    const int before = lowestFreeDescriptor();
    fillStandardStreams();
    EXPECT_EQ(lowestFreeDescriptor(), before);
}

}  // namespace
