#include <gtest/gtest.h>

#include <sstream>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/interop/ForeignReceiver.h"
#include "tests/interop/Timing.h"

// Whole jobs whose images a receiver of other authors takes.
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlockSize = 1024;

// The golden note of a job that sends an image of this size, made beside copies of the others.
fs::path goldenNoteOf(const Device& device, std::size_t size) {
    const fs::path folder = device.runDirectory().parent_path() / "golden";
    fs::copy(GOLDEN_DIRECTORY, folder);
    std::ostringstream note;
    note << "@include banner.inc\n@include entry.inc\n@include ask-hardware.inc\n"
            "@include ask-version.inc\n"
            "Cur FileVer: 100   Update FileVer: 210  ForceUpdate=0 HigherVer=0\n"
            "@include to-boot.inc\n@include permission.inc\n@include transfer-begins.inc\n";
    for (std::size_t sent = 0, block = 1; sent < size; sent += kBlockSize, ++block) {
        note << (size - sent < kBlockSize ? "Start filling the last frame!\\r\n" : "")
             << "waiting for ACK," << block << ",1029,...Ok!\\r\n";
    }
    note << "Waiting for complete ACK ...OK\\r\nSending file complete\\r\n"
            "send flie success !(/job/firmware/arm1.bin)\n"
            "@include start-upload-closed.inc\n@include succeeded.inc\n";
    const fs::path file = folder / "any-size.note";
    writeText(file, note.str());
    return file;
}

class Size : public testing::TestWithParam<std::size_t> {};

TEST_P(Size, OfAnyImageIsBroughtToAForeignReceiver) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0}, GetParam());
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    device.connect({arm1BehindRx(kStartDelay)});

    const RunResult result = device.update(kToolTimeout);

    expectSuccess(result, goldenNoteOf(device, GetParam()));
    EXPECT_TRUE(device.storedImage("ARM1") == image.padded());
    EXPECT_EQ(device.mcuState("ARM1").at("version"), "210");
    EXPECT_EQ(device.requests(), kWholeUpdate);
}

// 36 bytes is the least that holds what the configuration says of an image. The block after the
// 255th, which ends at byte 261120, carries the number 0.
INSTANTIATE_TEST_SUITE_P(Bytes, Size,
                         testing::Values(36, 127, 1023, 1024, 1025, 2048, 261120, 261121,
                                         LARGEST_IMAGE));

TEST(SmallestImage, ThatCanHoldAVersionIsBroughtToAForeignReceiver) {
    Device device;
    const Bytes image = {0, 1, 2};
    writeText(device.jobFile("firmware") / "arm1.bin", std::string(image.begin(), image.end()));
    device.configuration(arm1Config(
        {{"versionPosition", "0"}, {"hardwareInfoPosition", "0"}, {"hardwareInfoLength", "3"}}));
    SimulatedMcu mcu = arm1BehindRx(kStartDelay);
    mcu.hardware = "020100";
    mcu.more.update({{"version_position", 0}, {"hardware_position", 0}});
    device.connect({mcu});

    const RunResult result = device.update(kToolTimeout);

    EXPECT_TRUE(result.markerExists) << result.note;
    Bytes padded = image;
    padded.resize(kBlockSize, 0);
    EXPECT_EQ(device.storedImage("ARM1"), padded);
    EXPECT_EQ(device.mcuState("ARM1").at("version"), "210");
}

}  // namespace
