#include <gtest/gtest.h>

#include <filesystem>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// The device's clock after 2038-01-19 03:14:07, from when on a time takes more than 31 bits.
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::seconds;

constexpr std::size_t kSixBlocks = std::size_t{6} * 1024;
constexpr long long kLast32BitSecond = 2147483647;
// 2039-03-04 05:06:07 UTC.
constexpr long long kFarMoment = 2182827967;
// Twenty seconds of silence from this block on.
constexpr char kSilentBlock[] = "block 3";
const json kSilentInMidTransfer =
    json::array({{{"on", "block"}, {"n", 3}, {"do", "silent"}, {"ms", 20000}}});

std::string scriptAt(long long moment, const std::string& command) {
    return "set-clock " + std::to_string(moment) + " && exec " + command + "\n";
}

// As if the file had come onto the device in 2039.
void dateFar(const fs::path& file) {
    using std::chrono::system_clock;
    const auto ahead = system_clock::from_time_t(kFarMoment) - system_clock::now();
    fs::last_write_time(file, fs::file_time_type::clock::now() +
                                  std::chrono::duration_cast<fs::file_time_type::duration>(ahead));
}

// The time, on the MCUs' clock, at which this went over the line first, or first after that time;
// -1 when it never did.
double timeOf(const std::vector<json>& transcript, const std::string& meaning, double after = 0) {
    for (const json& line : transcript) {
        if (line.at("meaning") == meaning && line.at("time") > after) {
            return line.at("time");
        }
    }
    return -1;
}

TEST(FarFuture, UpdateWithFilesOf2039Succeeds) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0});
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    dateFar(machine.jobFile("firmware/arm1.bin"));
    dateFar(machine.jobFile("update.xml"));
    machine.connect({arm1({1, 0, 0})});

    machine.boot(scriptAt(kFarMoment, kUpdateCommand));
    machine.waitUntilOff(seconds(150));

    expectSuccess(machine.result(), "success.note");
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
}

// A boot loader that falls silent is waited for fifteen whole seconds, looked at after each read of
// three seconds; then the next attempt begins.
void expectGivenUpInTime(const Machine& machine) {
    const std::vector<json> transcript = machine.transcript();
    const double block = timeOf(transcript, kSilentBlock);
    const double cancelled = timeOf(transcript, "CAN", block);
    ASSERT_GT(block, 0);
    ASSERT_GT(cancelled, 0);
    EXPECT_GE(cancelled - block, 15);
    EXPECT_LE(cancelled - block, 15 + 3 + 1);
    EXPECT_GT(timeOf(transcript, "hardware request", cancelled), 0);
}

TEST(FarFuture, SilentBootLoaderIsGivenUpIn2039AndTheRetrySucceeds) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kSixBlocks);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})}, kSilentInMidTransfer);

    machine.boot(scriptAt(kFarMoment, kUpdateCommand));
    machine.waitUntilOff(seconds(200));

    EXPECT_TRUE(machine.result().markerExists) << machine.result().note;
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
    expectGivenUpInTime(machine);
}

// The clock is held before the moment until the wait has begun; then it runs.
TEST(FarFuture, SilentBootLoaderIsGivenUpWhenTheClockPasses31BitsInTheWait) {
    constexpr int kSecondsBefore = 7;
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kSixBlocks);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})}, kSilentInMidTransfer);

    machine.boot("until [ -e go ]; do set-clock " +
                 std::to_string(kLast32BitSecond - kSecondsBefore) +
                 "; usleep 500000; done &\nexec " + kUpdateCommand + "\n");
    machine.waitForMeaning(kSilentBlock, seconds(90));
    writeText(machine.jobFile("go"), "");
    machine.waitUntilOff(seconds(150));

    EXPECT_TRUE(machine.result().markerExists) << machine.result().note;
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
    expectGivenUpInTime(machine);
}

TEST(FarFuture, LogLineHasTheTimeOf2039) {
    Machine machine;
    machine.boot("set-clock " + std::to_string(kFarMoment) + "\ncrash-victim trouble=write\n");
    machine.waitUntilOff(seconds(90));

    EXPECT_THAT(readText(machine.share() / "log" / "SignalError.log"),
                testing::HasSubstr("2039-03-04 05:06:"));
}

}  // namespace
