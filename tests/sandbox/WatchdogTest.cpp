#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

#include "tests/sandbox/Sandbox.h"

// The watchdog's node and its feed request. The probe prints result and error number.
namespace {

using nlohmann::json;

const std::string kFed = "0 0\n";

std::string failure(int error) {
    return "-1 " + std::to_string(error) + "\n";
}

TEST(Watchdog, TakesAFeedAndRecordsIt) {
    const Sandbox sandbox;
    const double before =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();

    EXPECT_EQ(sandbox.probe({}, {"feed", "/dev/gpio_wtd"}).output, kFed);

    const std::vector<json> feeds = sandbox.records("feeds.jsonl");
    ASSERT_EQ(feeds.size(), 1U);
    EXPECT_GE(feeds[0].at("seconds").get<double>(), 0);
    EXPECT_LT(feeds[0].at("seconds").get<double>(), 5);
    EXPECT_NEAR(feeds[0].at("wall").get<double>(), before, 5);
}

TEST(Watchdog, RecordsEveryFeedWithTheDevicesTime) {
    const Sandbox sandbox;

    sandbox.probe({"--time-scale", "200"}, {"feed-after-sleeps", "12", "12", "20"});

    const std::vector<json> feeds = sandbox.records("feeds.jsonl");
    ASSERT_EQ(feeds.size(), 3U);
    EXPECT_GE(feeds[0].at("seconds").get<double>(), 12);
    EXPECT_GE(feeds[1].at("seconds").get<double>(), 24);
    EXPECT_GE(feeds[2].at("seconds").get<double>(), 44);
    const double wall = feeds[2].at("wall").get<double>() - feeds[0].at("wall").get<double>();
    EXPECT_LT(wall, 16);
}

TEST(Watchdog, RecordsOfSeveralRunsStandOneAfterTheOther) {
    const Sandbox sandbox;

    sandbox.probe({}, {"feed", "/dev/gpio_wtd"});
    sandbox.probe({}, {"feed", "/dev/gpio_wtd", "/dev/gpio_wtd"});

    EXPECT_EQ(sandbox.records("feeds.jsonl").size(), 3U);
}

TEST(Watchdog, IsTheNodeWhateverItIsCalled) {
    const Sandbox sandbox;

    const RunResult result =
        sandbox.shell({}, "ln -s /dev/gpio_wtd /tmp/link && exec " PROBE_PROGRAM " feed /tmp/link");

    EXPECT_EQ(result.output, kFed);
    EXPECT_EQ(sandbox.records("feeds.jsonl").size(), 1U);
}

TEST(Watchdog, ThatFailsRefusesEveryFeedAndRecordsNone) {
    const Sandbox sandbox;

    const RunResult result =
        sandbox.probe({"--watchdog", "fail"}, {"feed", "/dev/gpio_wtd", "/dev/gpio_wtd"});

    EXPECT_EQ(result.output, failure(EIO) + failure(EIO));
    EXPECT_TRUE(sandbox.records("feeds.jsonl").empty());
}

TEST(Watchdog, ThatVanishesTakesOneFeedAndRefusesEveryLaterOne) {
    const Sandbox sandbox;

    const RunResult result = sandbox.probe(
        {"--watchdog", "vanish"}, {"feed", "/dev/gpio_wtd", "/dev/gpio_wtd", "/dev/gpio_wtd"});

    EXPECT_EQ(result.output, "0 0\n" + failure(ENODEV) + failure(ENODEV));
    EXPECT_EQ(sandbox.records("feeds.jsonl").size(), 1U);
}

TEST(Watchdog, ThatIsMissingHasNoNode) {
    const RunResult result = Sandbox().shell({"--watchdog", "missing"}, "test -e /dev/gpio_wtd");

    EXPECT_EQ(result.status, 1);
}

TEST(Watchdog, TakesNoOtherRequest) {
    const Sandbox sandbox;

    EXPECT_EQ(sandbox.probe({}, {"other-request"}).output, failure(ENOTTY));

    EXPECT_TRUE(sandbox.records("feeds.jsonl").empty());
}

TEST(Watchdog, IsNoOtherFile) {
    const Sandbox sandbox;
    sandbox.writeFile("device/job/file", "");

    EXPECT_EQ(sandbox.probe({}, {"feed", "/job/file", "/dev/null"}).output,
              failure(ENOTTY) + failure(ENOTTY));

    EXPECT_TRUE(sandbox.records("feeds.jsonl").empty());
}

TEST(Watchdog, IsEmptyAsAFileAtEveryStart) {
    const Sandbox sandbox;
    sandbox.shell({}, "echo x > /dev/gpio_wtd");

    EXPECT_EQ(sandbox.shell({}, "stat -c %s /dev/gpio_wtd").output, "0\n");
}

}  // namespace
