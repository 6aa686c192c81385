#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "technic/DevicePaths.h"
#include "tests/app/ConfigText.h"
#include "tests/app/FakeMcu.h"
#include "tests/app/JobFolder.h"
#include "tests/app/JobNote.h"
#include "tests/app/Program.h"
#include "tests/mcu/NoteFile.h"

using testing::HasSubstr;

namespace {

constexpr char kBanner[] =
    "========================\n MCUUpdateTool Ver 2.10 \n========================\n";
constexpr char kMarker[] = "MCUUpdateSuccess";

// What an MCU answers that has the firmware() already, with two bytes of hardware information at
// 0x21.
const Bytes kHardwareOfTheFile = {0xFE, 0x06, 0x0C, 0x02, 0x0C, 0xAB, 0xCB, 0xFF};
const Bytes kVersionOfTheFile = {0xFE, 0x06, 0x02, 0x03, 0x02, 0x0A, 0x05, 0x1C, 0xFF};

using Arguments = std::vector<std::string>;

struct CountRow {
    const char* what;
    Arguments arguments;
};

void PrintTo(const CountRow& row, std::ostream* out) {
    *out << row.what;
}

class WrongArgumentCount : public testing::TestWithParam<CountRow> {};

TEST_P(WrongArgumentCount, GivesTheUsageAndLeavesTheNote) {
    writeFile(device_paths::kUpdateNoteLog, "an earlier run\n");
    const ProgramRun run = runProgram(GetParam().arguments);
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.output, "usage:[exe][Type][MCUUpdateConfigFile][MCUUpdateFilePath][Timeout]\n");
    EXPECT_EQ(noteText(), "an earlier run\n");
}

TEST_P(WrongArgumentCount, MakesNoNote) {
    (void)runProgram(GetParam().arguments);
    EXPECT_FALSE(exists(device_paths::kUpdateNoteLog));
}

INSTANTIATE_TEST_SUITE_P(Counts, WrongArgumentCount,
                         testing::Values(CountRow{"None", {}},
                                         CountRow{"Three", {"1", "config.xml", ""}},
                                         CountRow{"Five", {"1", "config.xml", "", "3", "4"}}),
                         [](const auto& test) { return test.param.what; });

class UnknownType : public testing::TestWithParam<std::string> {};

TEST_P(UnknownType, DoesNothingButTheBanner) {
    writeFile(device_paths::kUpdateNoteLog, "an earlier run\n");
    writeFile("config.xml", configText(completeParam(), {completeEntry()}));
    const ProgramRun run = runProgram({GetParam(), "config.xml", "", "0"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, kBanner);
    EXPECT_EQ(noteText(), kBanner);
    EXPECT_FALSE(exists(kMarker));
}

INSTANTIATE_TEST_SUITE_P(Types, UnknownType,
                         testing::Values("abc", "", "0", "4", "-1", "x1", "0x1", "4294967297",
                                         "99999999999999999999"));

class TypeWithoutConfiguration : public testing::TestWithParam<std::string> {};

TEST_P(TypeWithoutConfiguration, LeavesTheMarkerAsItIs) {
    writeFile(kMarker, "kept");
    ProgramRun run = runProgram({GetParam(), "missing.xml", "", "0"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, kBanner);
    EXPECT_EQ(readFile(kMarker), "kept");

    std::filesystem::remove(kMarker);
    run = runProgram({GetParam(), "missing.xml", "", "0"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(noteText(), kBanner);
    EXPECT_FALSE(exists(kMarker));
}

INSTANTIATE_TEST_SUITE_P(Types, TypeWithoutConfiguration, testing::Values("1", "2", "3"));

class Job : public testing::Test {
  protected:
    void SetUp() override { writeFile("arm3.bin", firmware()); }

    static void configure(const std::vector<Attributes>& entries) {
        writeFile("config.xml", configText(completeParam(), entries));
    }
    static void configureNoFiles() {
        configure({with(completeEntry(), "fileName", "missing.bin")});
    }
};

TEST_F(Job, SucceedsWithNothingToUpdate) {
    configureNoFiles();
    const ProgramRun run = runProgram({"1", "config.xml", "", "0"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(jobNote(), std::string(kBanner) + "update seccess!\n\n\n\n");
    EXPECT_TRUE(exists(kMarker));
    EXPECT_EQ(readFile(kMarker), "");
}

TEST_F(Job, ReadsTheLeadingDigitsOfItsType) {
    configureNoFiles();
    (void)runProgram({" 1st", "config.xml", "", "0"});
    EXPECT_TRUE(exists(kMarker));
}

struct TimeoutRow {
    const char* what;
    const char* argument;
    const char* printed;
};

void PrintTo(const TimeoutRow& row, std::ostream* out) {
    *out << row.what;
}

class TimeoutArgument : public testing::TestWithParam<TimeoutRow> {};

TEST_P(TimeoutArgument, IsReadAsADecimalNumberAndGivenToTheSession) {
    writeFile("arm3.bin", firmware());
    FakeMcu mcu;
    mcu.answer(FakeMcu::kHardware, {kHardwareOfTheFile});
    mcu.answer(FakeMcu::kVersion, {kVersionOfTheFile});
    const Attributes entry =
        with(with(completeEntry(), "hardwareInfoPosition", "21"), "hardwareInfoLength", "2");
    writeFile("config.xml",
              configText(with(completeParam(), "deviceName", mcu.line().path()), {entry}));
    mcu.start();
    const ProgramRun run = runProgram({"1", "config.xml", "", GetParam().argument});
    (void)mcu.stop();
    EXPECT_THAT(run.output, HasSubstr(GetParam().printed));
    EXPECT_TRUE(exists(kMarker));
}

INSTANTIATE_TEST_SUITE_P(Texts, TimeoutArgument,
                         testing::Values(TimeoutRow{"Plain", "8", "\ntimeout : 8 s\n"},
                                         TimeoutRow{"LeadingZero", "010", "\ntimeout : 10 s\n"},
                                         TimeoutRow{"BlankAndUnit", " 9s", "\ntimeout : 9 s\n"}),
                         [](const auto& test) { return test.param.what; });

TEST_F(Job, EmptiesAMarkerThatIsThere) {
    writeFile(kMarker, "old");
    configureNoFiles();
    (void)runProgram({"1", "config.xml", "", "0"});
    EXPECT_TRUE(exists(kMarker));
    EXPECT_EQ(readFile(kMarker), "");
}

TEST_F(Job, DoesNotHangOnAPipeInTheMarkersPlace) {
    ASSERT_EQ(mkfifo(kMarker, 0600), 0);
    configureNoFiles();
    EXPECT_EQ(runProgram({"1", "config.xml", "", "0"}).status, 0);
}

std::string failedRun() {
    std::string text;
    for (int attempt = 0; attempt < 6; ++attempt) {
        text +=
            "================== MCUUpdateToolImpl =================\n"
            "The Update ARMName :ARM3 ,File Name :arm3.bin\n"
            " m_strDeviceName = /no/such/tty\n m_nBaudrate = 115200\n m_nDatabits = 8\n"
            " m_nStopbits = 0\n m_nParity = 2\n ";
    }
    return text + "\nThe File ARM3 Update Fail,Update Next\n\nupdate failed!\n\n\n\n";
}

TEST_F(Job, RunsTheListTwiceAndRemovesTheMarkerWhenItFails) {
    writeFile(kMarker, "");
    configure({completeEntry()});
    const ProgramRun run = runProgram({"1", "config.xml", "", "0"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(jobNote(), kBanner + failedRun() + failedRun());
    EXPECT_FALSE(exists(kMarker));
}

TEST_F(Job, RemovesAFolderInTheMarkersPlaceWhenItFails) {
    std::filesystem::create_directory(kMarker);
    configure({completeEntry()});
    (void)runProgram({"1", "config.xml", "", "0"});
    EXPECT_FALSE(exists(kMarker));
}

TEST_F(Job, RunsTheFeederUntilItsEnd) {
    configure({completeEntry()});
    const ProgramRun run = runProgram({"1", "config.xml", "", "0"});
    EXPECT_EQ(run.output.find(std::string(kBanner) + "open(\"/dev/gpio_wtd\",O_WRONLY) success\n"),
              0U);
    // 70 seconds of waits, so a feed every 12; the second run begins after 45.
    const std::string note = noteText();
    const std::size_t secondRun = note.find("The Update ARMName", note.find("update failed!"));
    EXPECT_NE(note.find("MCUHardwareWatchDog send GPIO_SET_WTD success\n", secondRun),
              std::string::npos);
}

TEST_F(Job, RebootsNothingWithoutADevice) {
    configure({completeEntry()});
    EXPECT_EQ(runProgram({"2", "config.xml", "", "0"}).status, 0);
    EXPECT_EQ(noteText(), std::string(kBanner) +
                              " m_strDeviceName = /no/such/tty\n m_nBaudrate = 115200\n"
                              " m_nDatabits = 8\n m_nStopbits = 0\n m_nParity = 2\n ");
    EXPECT_FALSE(exists(kMarker));
}

}  // namespace
