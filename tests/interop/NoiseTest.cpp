#include <gtest/gtest.h>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/interop/ForeignReceiver.h"
#include "tests/interop/Timing.h"

// Whole jobs over a line that spoils bytes between the tool and a receiver of other authors.
namespace {

using nlohmann::json;

constexpr std::size_t kThreeBlocks = 3000;

struct Noise {
    std::string name;
    json fault;
};

// On the way to the receiver, at the second of three blocks unless the name says something else.
const std::vector<Noise> kAtHeader = {
    {"ManyBytesBeforeABlock",
     {{"on", "block"}, {"n", 2}, {"do", "insert"}, {"at", 0}, {"bytes", "00ff557e0a0d43"}}},
    {"ALostStx", {{"on", "block"}, {"n", 2}, {"do", "lose"}, {"at", 0}}},
    {"AnStxThatBecameEot", {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 0}, {"mask", 6}}},
    {"AnStxThatBecameCan", {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 0}, {"mask", 26}}},
    {"ADamagedNumber", {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 1}, {"mask", 1}}},
    {"ADamagedComplement", {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 2}, {"mask", 1}}},
};
const std::vector<Noise> kTowardsReceiver = {
    {"AByteBetweenBlocks",
     {{"on", "block"}, {"n", 2}, {"do", "insert"}, {"at", 1029}, {"bytes", "aa"}}},
    {"AnInsertedDataByte",
     {{"on", "block"}, {"n", 2}, {"do", "insert"}, {"at", 500}, {"bytes", "aa"}}},
    {"ADamagedDataByte", {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 500}, {"mask", 1}}},
    {"ALostDataByte", {{"on", "block"}, {"n", 2}, {"do", "lose"}, {"at", 500}}},
    {"AnStxThatBecameSoh", {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 0}, {"mask", 3}}},
    {"ADamagedHighByteOfTheCrc",
     {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 1027}, {"mask", 128}}},
    {"ADamagedLowByteOfTheCrc",
     {{"on", "block"}, {"n", 2}, {"do", "damage"}, {"at", 1028}, {"mask", 128}}},
    {"ALostLastByteOfTheCrc", {{"on", "block"}, {"n", 2}, {"do", "lose"}, {"at", 1028}}},
    {"ADamagedLastBlock", {{"on", "block"}, {"n", 3}, {"do", "damage"}, {"at", 9}, {"mask", 255}}},
    {"AByteBeforeEot", {{"on", "eot"}, {"n", 1}, {"do", "insert"}, {"at", 0}, {"bytes", "aa"}}},
    {"AByteAfterEot", {{"on", "eot"}, {"n", 1}, {"do", "insert"}, {"at", 1}, {"bytes", "aa"}}},
};

// On the way to the tool.
const std::vector<Noise> kTowardsToolOutlived = {
    {"ANakInsteadOfAnAck", {{"on", "block"}, {"n", 2}, {"do", "flip"}, {"mask", 19}}},
    {"ALateAck", {{"on", "block"}, {"n", 2}, {"do", "delay"}, {"ms", 9000}}},
};
// The receiver repeats its start byte instead of refusing the first block, and the tool takes that
// for an answer that means nothing.
const std::vector<Noise> kFirstBlock = {
    {"AByteBeforeTheFirstBlock",
     {{"on", "block"}, {"n", 1}, {"do", "insert"}, {"at", 0}, {"bytes", "aa"}}},
    {"ADamagedFirstBlock", {{"on", "block"}, {"n", 1}, {"do", "damage"}, {"at", 500}}},
};
const std::vector<Noise> kTowardsToolFatal = {
    {"AByteBeforeTheStartByte",
     {{"on", "start"}, {"n", 1}, {"do", "noise"}, {"where", "before"}, {"bytes", "aa"}}},
    {"AByteBeforeAnAck",
     {{"on", "block"}, {"n", 2}, {"do", "noise"}, {"where", "before"}, {"bytes", "00"}}},
    {"AByteAfterAnAck",
     {{"on", "block"}, {"n", 2}, {"do", "noise"}, {"where", "after"}, {"bytes", "00"}}},
    {"ADamagedAck", {{"on", "block"}, {"n", 2}, {"do", "flip"}, {"mask", 128}}},
    {"ACanInsteadOfAnAck", {{"on", "block"}, {"n", 2}, {"do", "flip"}, {"mask", 30}}},
};

class NoisyLine : public testing::Test {
  protected:
    void updateUnder(const json& fault) {
        device.firmware("arm1.bin", image);
        device.configuration(arm1Config());
        device.connect({arm1BehindRx(kStartDelay)}, json::array({fault}));
        result = device.update(kToolTimeout);
    }
    std::size_t attempts() const { return countLines(result.note, "Xmodem start !! "); }
    void expectWholeImage() const {
        EXPECT_TRUE(result.markerExists) << result.note;
        EXPECT_EQ(device.storedImage("ARM1"), image.padded());
        EXPECT_EQ(device.mcuState("ARM1").at("version"), "210");
    }

    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0}, kThreeBlocks);
    RunResult result;
};

std::string nameOf(const testing::TestParamInfo<Noise>& tested) {
    return tested.param.name;
}

class NoiseThatIsRepaired : public NoisyLine, public testing::WithParamInterface<Noise> {};

TEST_P(NoiseThatIsRepaired, DoesNotEndTheAttempt) {
    updateUnder(GetParam().fault);
    expectWholeImage();
    EXPECT_EQ(attempts(), 1U) << result.note;
}

INSTANTIATE_TEST_SUITE_P(AtHeader, NoiseThatIsRepaired, testing::ValuesIn(kAtHeader), nameOf);
INSTANTIATE_TEST_SUITE_P(TowardsReceiver, NoiseThatIsRepaired, testing::ValuesIn(kTowardsReceiver),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(TowardsTool, NoiseThatIsRepaired, testing::ValuesIn(kTowardsToolOutlived),
                         nameOf);

// The receiver refuses a header while the rest of the block is still coming, and the tool repeats
// the block right behind that rest: the receiver may then take the content of one for the header of
// the next until it gives up.
class NoiseAtHeader : public NoisyLine, public testing::WithParamInterface<Noise> {};

TEST_P(NoiseAtHeader, OnALineWithASpeedMayCostAnAttempt) {
    device.lineSpeed(115200);
    updateUnder(GetParam().fault);

    expectWholeImage();
    EXPECT_LE(attempts(), 2U) << result.note;
}

INSTANTIATE_TEST_SUITE_P(Cases, NoiseAtHeader, testing::ValuesIn(kAtHeader), nameOf);

class NoiseThatIsNot : public NoisyLine, public testing::WithParamInterface<Noise> {};

TEST_P(NoiseThatIsNot, EndsTheAttemptAndTheNextSucceeds) {
    updateUnder(GetParam().fault);
    expectWholeImage();
    EXPECT_EQ(attempts(), 2U) << result.note;
}

INSTANTIATE_TEST_SUITE_P(TowardsReceiver, NoiseThatIsNot, testing::ValuesIn(kFirstBlock), nameOf);
INSTANTIATE_TEST_SUITE_P(TowardsTool, NoiseThatIsNot, testing::ValuesIn(kTowardsToolFatal), nameOf);

TEST_F(NoisyLine, ThatSpoilsTheLastAckCostsAnAttemptThatFindsTheMcuUpToDate) {
    updateUnder({{"on", "eot"}, {"n", 1}, {"do", "flip"}, {"mask", 128}});

    expectWholeImage();
    EXPECT_EQ(attempts(), 1U);
    EXPECT_EQ(countLines(result.note, "Do not need update...."), 1U);
}

}  // namespace
