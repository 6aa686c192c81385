#include <gtest/gtest.h>

#include <algorithm>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// What goes on beside an update, with a real device node and a real pipe.
namespace {

using nlohmann::json;
using std::chrono::seconds;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;

// Some fifty seconds at this speed.
constexpr std::size_t kLongImage = std::size_t{192} * 1024;
constexpr int kSlowLine = 38400;

std::vector<double> intervals(const std::vector<json>& feeds) {
    std::vector<double> lengths;
    for (std::size_t i = 1; i < feeds.size(); ++i) {
        lengths.push_back(feeds[i].at("seconds").get<double>() -
                          feeds[i - 1].at("seconds").get<double>());
    }
    return lengths;
}

TEST(Watchdog, IsFedEveryTwelveSecondsDuringALongTransfer) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kLongImage);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config().lineSetting("BaudRate", std::to_string(kSlowLine)));
    machine.connect({arm1({1, 0, 0})}, json(), kSlowLine);

    const RunResult result = machine.update(seconds(200));

    EXPECT_TRUE(result.markerExists) << result.note;
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
    const std::vector<json> feeds = machine.records("feeds.jsonl");
    ASSERT_GE(feeds.size(), 4U);
    for (const json& feed : feeds) {
        EXPECT_FALSE(feed.contains("refused")) << feed;
    }
    std::vector<double> lengths = intervals(feeds);
    // A clock of whole seconds that has just stepped on may let a feed come at the look before.
    EXPECT_THAT(lengths, Each(AllOf(Ge(9.9), Le(13.5))));
    std::sort(lengths.begin(), lengths.end());
    EXPECT_NEAR(lengths[lengths.size() / 2], 12.0, 0.5);
    EXPECT_EQ(countLines(result.note, "MCUHardwareWatchDog send GPIO_SET_WTD success"),
              feeds.size());
}

TEST(Heartbeat, OfTheKeeperReachesTheReader) {
    Machine machine;
    machine.firmware("arm1.bin", arm1Image({2, 1, 0}));
    machine.configuration(arm1Config());
    machine.connect({arm1({2, 1, 0})});

    expectSuccess(machine.update(seconds(90)), "up-to-date.note");

    expectHeartbeatsOfOneKeeper(machine.records("heartbeats.jsonl"));
}

}  // namespace
