#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/BuiltProgram.h"
#include "tests/app/ConfigText.h"
#include "tests/app/JobFolder.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

const Bytes kRebootFrame = {0xFE, 0x01, 0x10, 0x04, 0x00, 0x0F, 0x00, 0x00, 0x24, 0xFF};

TEST(ProgramWithoutStandardStreams, SendsNothingButTheCommandOverTheLine) {
    const PseudoTerminal line;
    writeFile("config.xml",
              configText(with(completeParam(), "deviceName", line.path()), {completeEntry()}));
    const std::string command = shellCommandOf("MCUUpdateTool") + "2 config.xml '' 0 <&- >&- 2>&-";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(line.received(), kRebootFrame);
}

}  // namespace
