#include <gtest/gtest.h>

#include <random>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/interop/ForeignReceiver.h"
#include "tests/interop/Timing.h"

// Whole jobs over a line with a speed that is spoilt at random; the same seed spoils it the same
// way.
namespace {

using nlohmann::json;

constexpr int kBlocks = 6;
constexpr int kFaults = 6;
constexpr int kBlockLength = 1029;
// Faults hit blocks of the first two attempts or so.
constexpr int kLastBlockHit = 2 * kBlocks;
constexpr unsigned kAck = 0x06;
constexpr unsigned kNak = 0x15;

class Noise {
  public:
    explicit Noise(unsigned seed) : m_random(seed) {}

    json script() {
        json faults = json::array();
        for (int i = 0; i < kFaults; ++i) {
            faults.push_back(fault());
        }
        return faults;
    }

  private:
    int number(int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(m_random);
    }

    // A byte that is no reply: the tool has no means of telling a forged one from a true one.
    std::string byteButNoReply() {
        unsigned byte = kAck;
        while (byte == kAck || byte == kNak) {
            byte = static_cast<unsigned>(number(0, 255));
        }
        char digits[3];
        (void)std::snprintf(digits, sizeof digits, "%02x", byte);
        return digits;
    }

    // What does not make one reply of another.
    int mask() {
        int bits = kAck ^ kNak;
        while (bits == (kAck ^ kNak)) {
            bits = number(1, 255);
        }
        return bits;
    }

    json fault() {
        json fault = {{"on", "block"}, {"n", number(1, kLastBlockHit)}};
        const json kinds = {
            {{"do", "damage"}, {"at", number(0, kBlockLength - 1)}, {"mask", mask()}},
            {{"do", "lose"}, {"at", number(0, kBlockLength - 1)}, {"count", number(1, 40)}},
            {{"do", "insert"}, {"at", number(0, kBlockLength)}, {"bytes", byteButNoReply()}},
            {{"do", "noise"}, {"where", "before"}, {"bytes", byteButNoReply()}},
            {{"do", "noise"}, {"where", "after"}, {"bytes", byteButNoReply()}},
            {{"do", "flip"}, {"mask", mask()}},
            {{"do", "drop"}},
            {{"do", "delay"}, {"ms", number(1, 9000)}},
            {{"on", "eot"}, {"n", 1}, {"do", "insert"}, {"bytes", byteButNoReply()}},
            {{"on", "start"}, {"n", 1}, {"do", "noise"}, {"bytes", byteButNoReply()}},
        };
        fault.update(kinds.at(static_cast<std::size_t>(number(0, 9))));
        return fault;
    }

    std::mt19937 m_random;
};

class Campaign : public testing::TestWithParam<unsigned> {};

TEST_P(Campaign, LeavesNoMarkerBesideAnotherImageAndASecondRunRepairsAll) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0}, std::size_t{kBlocks} * 1024 - 300);
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    const json faults = Noise(GetParam()).script();
    SCOPED_TRACE(faults.dump());
    device.lineSpeed(115200).connect({arm1BehindRx(kStartDelay)}, faults);

    const RunResult first = device.update(kToolTimeout);

    waitUntilReceptionIsOver(device);
    const json left = device.mcuState("ARM1");
    if (first.markerExists) {
        EXPECT_EQ(device.storedImage("ARM1"), image.padded()) << first.note;
        EXPECT_EQ(left.at("version"), "210");
    }

    SimulatedMcu sameMcu = arm1BehindRx(kStartDelay, left.at("state"));
    sameMcu.version = left.at("version_bytes").get<std::vector<int>>();
    device.hangUp();
    device.connect({sameMcu});
    const RunResult second = device.update(kToolTimeout);

    EXPECT_TRUE(second.markerExists) << second.note;
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

INSTANTIATE_TEST_SUITE_P(Seeds, Campaign, testing::Range(1U, 5U));

}  // namespace
