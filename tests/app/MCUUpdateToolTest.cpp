#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "app/MCUUpdateTool.h"
#include "mcu/UpdateNote.h"
#include "tests/app/ConfigText.h"
#include "tests/app/JobFolder.h"
#include "tests/mcu/LineStatus.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/PseudoTerminal.h"

using testing::HasSubstr;

namespace {

constexpr char kParameters[] =
    " m_strDeviceName = /no/such/tty\n m_nBaudrate = 115200\n m_nDatabits = 8\n"
    " m_nStopbits = 0\n m_nParity = 2\n ";

std::string attemptText(const std::string& armName, const std::string& fileName) {
    return "================== MCUUpdateToolImpl =================\nThe Update ARMName :" +
           armName + " ,File Name :" + fileName + "\n" + kParameters;
}

std::string sixAttempts(const std::string& armName, const std::string& fileName) {
    std::string text;
    for (int count = 0; count < 6; ++count) {
        text += attemptText(armName, fileName);
    }
    return text + "\nThe File " + armName + " Update Fail,Update Next\n\n";
}

class Tool : public testing::Test {
  protected:
    void SetUp() override {
        UpdateNote::remove();
        writeFile("arm3.bin", firmware());
        tool.setConfigFile("config.xml");
        tool.setUpdateFilePath("");
        tool.setTimeout(0);
    }
    bool load(const Attributes& param, const std::vector<Attributes>& entries) {
        writeFile("config.xml", configText(param, entries));
        return tool.loadConfig();
    }

    MCUUpdateTool tool;
};

TEST_F(Tool, LoadsNothingWithoutAConfiguration) {
    EXPECT_FALSE(tool.loadConfig());
}

TEST_F(Tool, HasNoFilesAndNoDeviceBeforeALoad) {
    EXPECT_TRUE(tool.updateAll());
    EXPECT_EQ(noteText(), "");
    EXPECT_FALSE(tool.rebootMCU());
    EXPECT_THAT(noteText(), HasSubstr(" m_strDeviceName = \n"));
}

TEST_F(Tool, HasNothingToUpdateWhenEveryFileIsMissing) {
    EXPECT_TRUE(load(completeParam(), {with(completeEntry(), "fileName", "missing.bin")}));
    EXPECT_TRUE(tool.updateAll());
    EXPECT_EQ(noteText(), "");
}

TEST_F(Tool, TriesAFileSixTimesAndNamesTheMcuWhenItGivesUp) {
    ASSERT_TRUE(load(completeParam(), {completeEntry()}));
    EXPECT_FALSE(tool.updateAll());
    EXPECT_EQ(noteText(), sixAttempts("ARM3", "arm3.bin"));
}

TEST_F(Tool, GoesOnWithTheNextFileInTheOrderOfTheConfiguration) {
    writeFile("first.bin", firmware());
    ASSERT_TRUE(load(completeParam(),
                     {with(with(completeEntry(), "armName", "First"), "fileName", "first.bin"),
                      with(completeEntry(), "fileName", "missing.bin"), completeEntry()}));
    EXPECT_FALSE(tool.updateAll());
    EXPECT_EQ(noteText(), sixAttempts("First", "first.bin") + sixAttempts("ARM3", "arm3.bin"));
}

TEST_F(Tool, CutsNamesThatDoNotFitItsMessages) {
    const std::string name(10000, 'n');
    ASSERT_TRUE(load(completeParam(), {with(completeEntry(), "armName", name)}));
    EXPECT_FALSE(tool.updateAll());
    const std::string begin = "The Update ARMName :";
    EXPECT_THAT(noteText(), HasSubstr(begin + std::string(255 - begin.size(), 'n') + kParameters));
}

TEST_F(Tool, KeepsItsContentsWhenALaterLoadFails) {
    ASSERT_TRUE(load(completeParam(), {completeEntry()}));
    EXPECT_FALSE(load(without(completeParam(), "Parity"), {completeEntry()}));
    EXPECT_FALSE(tool.updateAll());
    EXPECT_EQ(noteText(), sixAttempts("ARM3", "arm3.bin"));
}

TEST_F(Tool, SendsNoCommandWithoutADevice) {
    ASSERT_TRUE(load(completeParam(), {completeEntry()}));
    EXPECT_FALSE(tool.rebootMCU());
    EXPECT_FALSE(tool.resetMCU());
    EXPECT_EQ(noteText(), std::string(kParameters) + kParameters);
}

TEST_F(Tool, SendsTheRebootCommandOnceAndClosesThePort) {
    const PseudoTerminal line;
    ASSERT_TRUE(load(with(completeParam(), "deviceName", line.path()), {completeEntry()}));
    UpdateNote::log("");  // the note stays open from here on
    const std::size_t before = openDescriptorCount();
    EXPECT_TRUE(tool.rebootMCU());
    EXPECT_EQ(line.received(), Bytes({0xFE, 1, 0x10, 4, 0, 0x0F, 0, 0, 0x24, 0xFF}));
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST_F(Tool, FailsAndClosesThePortWhenTheCommandCannotBeSent) {
    const PseudoTerminal line;
    ASSERT_TRUE(load(with(completeParam(), "deviceName", line.path()), {completeEntry()}));
    UpdateNote::log("");  // the note stays open from here on
    const std::size_t before = openDescriptorCount();
    const NoLineStatus nothingIsSent;
    EXPECT_FALSE(tool.rebootMCU());
    EXPECT_FALSE(tool.resetMCU());
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST_F(Tool, SendsTheResetCommandOnceAndClosesThePort) {
    const PseudoTerminal line;
    ASSERT_TRUE(load(with(completeParam(), "deviceName", line.path()), {completeEntry()}));
    UpdateNote::log("");  // the note stays open from here on
    const std::size_t before = openDescriptorCount();
    EXPECT_TRUE(tool.resetMCU());
    EXPECT_EQ(line.received(), Bytes({0xFE, 1, 0x10, 4, 0, 0x29, 0, 0, 0x3E, 0xFF}));
    EXPECT_EQ(openDescriptorCount(), before);
}

}  // namespace
