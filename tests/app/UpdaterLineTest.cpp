#include <gtest/gtest.h>

#include <string>

#include "app/MCUUpdater.h"
#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "tests/app/FakeMcu.h"
#include "tests/app/JobFolder.h"
#include "tests/mcu/NoteFile.h"

namespace {

const Bytes kHardwareAb01 = {0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x01, 0xC0, 0xFF};
const Bytes kHardwareAb02 = {0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x02, 0xC1, 0xFF};
const Bytes kVersion210 = {0xFE, 0x06, 0x02, 0x03, 0x02, 0x01, 0x00, 0x0E, 0xFF};
const Bytes kBootState = {0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF};
const Bytes kPermitted = {0xFE, 0x05, 0x06, 0x01, 0x00, 0x0C, 0xFF};
const Bytes kNothing = {};

constexpr int kTimeoutSeconds = 10;
constexpr int kStartUploadAttempts = 10;

class UpdaterLine : public testing::Test {
  protected:
    void SetUp() override {
        UpdateNote::remove();
        entry.armType = 3;
        entry.filePath = "no-such-file.bin";
        entry.fileHardware = "ab01";
        mcu.answer(FakeMcu::kHardware, {kHardwareAb01});
        mcu.answer(FakeMcu::kVersion, {kVersion210});
        mcu.answer(FakeMcu::kState, {kBootState});
        mcu.answer(FakeMcu::kUpdate, {kPermitted});
    }

    int attempt() {
        mcu.start();
        int result = -1;
        {
            MCUUpdater updater;
            updater.setEntry(entry);
            updater.setDeviceName(mcu.line().path());
            updater.setParam(115200, 8, 0, 0);
            updater.setTimeout(kTimeoutSeconds);
            result = updater.update();
        }
        (void)mcu.stop();
        return result;
    }

    PreparedEntry entry;
    FakeMcu mcu;
};

TEST_F(UpdaterLine, IsLeftByTheKeeperAndClosedFromTheTransferOn) {
    entry.fileVersion = "211";
    EXPECT_EQ(attempt(), 0);
    const std::string transfer = "MCUUpdater X modem start....\n";
    std::string expected = transfer + "Xmodem start !! \nCan't open file!";
    for (int count = 0; count < kStartUploadAttempts; ++count) {
        expected +=
            "MCUSessionControler::communicate 1111111111\n"
            "SendCommand : fe 05 09 01 00 0f ff 00 00\n";
    }
    const std::string note = noteText();
    const std::size_t begin = note.find(transfer);
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(note.substr(begin), expected);
    // A worker that still ran at the end would be reported.
    EXPECT_FALSE(exists(device_paths::kThreadExceptionLog));
}

TEST_F(UpdaterLine, IsClearedOfWhatCameBeforeTheFirstQuestion) {
    entry.fileVersion = "210";
    mcu.answer(FakeMcu::kStopUpload, {kHardwareAb02, kNothing});
    EXPECT_EQ(attempt(), 1);
}

}  // namespace
