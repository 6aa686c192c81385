#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

// What goes on beside the update: the watchdog feeder, the heartbeats, the stop-upload keeper.
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::Not;

// A job long enough for two feeds and no third: the silent MCU's ten questions take 3 s each.
RunResult runSilentJob(Device& device) {
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})}, kSilent);
    return device.update(2);
}

RunResult runPlainUpdate(Device& device) {
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})});
    return device.update(kTimeout);
}

TEST(Watchdog, IsFedAfterTwelveAndTwentyFourSeconds) {
    Device device;
    device.timeScale(5);
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})});

    expectSuccess(device.update(10), "success.note");

    // The feeder looks every two seconds at a clock of whole seconds: 12 seconds, or 10 where the
    // clock has just stepped on, but never 14.
    const std::vector<json> feeds = device.records("feeds.jsonl");
    ASSERT_GE(feeds.size(), 2U);
    const double first = feeds[0].at("seconds");
    const double second = feeds[1].at("seconds");
    EXPECT_THAT(first, AllOf(Ge(9.9), Le(13.5)));
    EXPECT_THAT(second - first, AllOf(Ge(9.9), Le(13.5)));
}

TEST(Watchdog, ThatIsMissingDoesNotStopTheUpdate) {
    Device device;
    device.sandboxOption("--watchdog", "missing");

    const RunResult result = runPlainUpdate(device);

    expectSuccess(result, "success.note");
    EXPECT_THAT(result.output, HasSubstr("open(\"/dev/gpio_wtd\",O_WRONLY) error\n"));
    EXPECT_THAT(result.note, Not(HasSubstr("GThreadWatchdog")));
}

TEST(Watchdog, ThatFailsIsTriedAgainAndDoesNotStopTheUpdate) {
    Device device;
    device.sandboxOption("--watchdog", "fail");

    const RunResult result = runSilentJob(device);

    EXPECT_EQ(result.status, 0);
    expectNote(result, "silent.note");
    EXPECT_GE(countLines(result.note, "MCUHardwareWatchDog send GPIO_SET_WTD error"), 2U);
    EXPECT_EQ(countLines(result.note, "MCUHardwareWatchDog send GPIO_SET_WTD success"), 0U);
}

TEST(Watchdog, ThatIsThereIsAnnounced) {
    Device device;

    const RunResult result = runPlainUpdate(device);

    EXPECT_THAT(result.output, HasSubstr("open(\"/dev/gpio_wtd\",O_WRONLY) success\n"));
    EXPECT_THAT(result.note, HasSubstr("____start GThreadWatchdog thread\n"));
}

TEST(Heartbeat, TellsTheStartAndTheEndOfTheKeeper) {
    Device device;
    device.sandboxOption("--heartbeat-reader");

    expectSuccess(runPlainUpdate(device), "success.note");

    expectHeartbeatsOfOneKeeper(device.records("heartbeats.jsonl"));
}

TEST(Heartbeat, WithoutAReaderDoesNotStopTheUpdate) {
    Device device;

    expectSuccess(runPlainUpdate(device), "success.note");
}

TEST(Heartbeat, WithoutAPipeDoesNotStopTheUpdate) {
    Device device;
    device.sandboxOption("--no-heartbeat-pipe");

    expectSuccess(runPlainUpdate(device), "success.note");
}

double firstTimeOf(const Device& device, const std::string& meaning) {
    for (const json& record : device.transcript()) {
        if (record.at("meaning") == meaning) {
            return record.at("time");
        }
    }
    throw std::runtime_error("nothing sent that means " + meaning);
}

// Times of the stop-upload frames, in seconds of the device's own time.
std::vector<double> stopUploadTimes(const Device& device) {
    std::vector<double> times;
    for (const json& record : device.transcript()) {
        if (record.at("meaning") == "stop-upload") {
            times.push_back(record.at("time"));
        }
    }
    return times;
}

TEST(Keeper, SendsStopUploadEveryTwoSecondsWhileRequestsGoOn) {
    Device device;
    device.timeScale(10);
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    // Five rounds of about two seconds each, in which the main thread sends no stop-upload.
    device.connect({arm1({1, 0, 0})}, kBootsAtTheSixthRequest);

    device.update(3);

    const std::vector<double> times = stopUploadTimes(device);
    const auto inTheBootLoop = std::find_if(times.begin(), times.end(), [&](double time) {
        return time > firstTimeOf(device, "set-to-boot");
    });
    ASSERT_GE(std::distance(inTheBootLoop, times.end()), 4);
    for (auto time = inTheBootLoop; time != inTheBootLoop + 3; ++time) {
        EXPECT_NEAR(*(time + 1) - *time, 2.0, 0.7);
    }
}

// How many reports are discarded at the start is a matter of moments, so the note is not compared.
TEST(Keeper, KeepsAnMcuQuietThatUploadsTelemetry) {
    Device device;
    device.timeScale(10);
    const FirmwareImage image = arm1Image({2, 1, 0});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    SimulatedMcu mcu = arm1({1, 0, 0});
    mcu.telemetry = true;
    device.connect({mcu}, kBootsAtTheThirdRequest);

    const RunResult result = device.update(3);

    EXPECT_TRUE(result.markerExists) << result.note;
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    const double stopped = firstTimeOf(device, "stop-upload");
    EXPECT_LT(firstTimeOf(device, "telemetry"), stopped);
    for (const json& record : device.transcript()) {
        const double time = record.at("time");
        if (time > stopped && time < firstTimeOf(device, "update request")) {
            EXPECT_NE(record.at("meaning"), "telemetry") << record;
        }
    }
}

TEST(Keeper, SendsNothingAfterTheTransferStarted) {
    Device device;

    expectSuccess(runPlainUpdate(device), "success.note");

    const std::vector<std::string> sent = device.sentMeanings();
    const auto permission = std::find(sent.begin(), sent.end(), "update request");
    const auto firstBlock = std::find(sent.begin(), sent.end(), "block 1");
    ASSERT_NE(firstBlock, sent.end());
    EXPECT_GT(std::count(sent.begin(), permission, "stop-upload"), 0);
    EXPECT_THAT(std::vector<std::string>(firstBlock, sent.end()),
                ElementsAre("block 1", "block 2", "block 3", "EOT"));
}

}  // namespace
