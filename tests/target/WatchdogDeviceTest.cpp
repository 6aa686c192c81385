#include <gtest/gtest.h>

#include "tests/target/GuestTests.h"
#include "tests/target/Machine.h"

// The machine's own watchdog, which other tests rely on.
namespace {

using nlohmann::json;

TEST(WatchdogDevice, TakesAndRecordsFeedsWithoutAnArgumentOnly) {
    Machine machine;

    EXPECT_EQ(failedGuestTests(machine, "watchdog_device_tests", std::chrono::seconds(90)), "");

    int feeds = 0;
    std::vector<json> refused;
    for (json record : machine.records("feeds.jsonl")) {
        feeds += record.contains("seconds") ? 1 : 0;
        if (record.contains("refused")) {
            refused.push_back({record.at("refused"), record.at("argument")});
        }
    }
    EXPECT_EQ(feeds, 1);
    EXPECT_EQ(refused,
              (std::vector<json>{
                  {0xC028670E, true}, {0xC028670F, false}, {0xC028670F, true}, {0, false}}));
}

}  // namespace
