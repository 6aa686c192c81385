#include "tests/faults/LineNames.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

const Bytes kStopUpload{0xFE, 0x05, 0x07, 0x01, 0x00, 0x0D, 0xFF};
const Bytes kVersion{0xFE, 0x06, 0x01, 0x01, 0x01, 0x09, 0xFF};

std::vector<std::string> namesOf(const std::vector<NamedByte>& bytes) {
    std::vector<std::string> names;
    for (const NamedByte& byte : bytes) {
        names.push_back(byte.name);
    }
    return names;
}

TEST(LineNames, NumberTheBytesOfEachRequestOfAKind) {
    LineNames names;
    (void)names.fromTool(kVersion);
    EXPECT_THAT(
        namesOf(names.fromTool(kVersion)),
        ElementsAre("tool:version#2:0", "tool:version#2:1", "tool:version#2:2", "tool:version#2:3",
                    "tool:version#2:4", "tool:version#2:5", "tool:version#2:6"));
}

TEST(LineNames, KeepEveryByteAsItIs) {
    LineNames names;
    Bytes values;
    for (const NamedByte& byte : names.fromTool(kVersion)) {
        values.push_back(byte.value);
    }
    EXPECT_EQ(values, kVersion);
}

TEST(LineNames, WaitForARequestToBeWhole) {
    LineNames names;
    EXPECT_THAT(names.fromTool({kVersion.begin(), kVersion.begin() + 5}), IsEmpty());
    EXPECT_EQ(names.fromTool({kVersion.begin() + 5, kVersion.end()}).size(), kVersion.size());
}

TEST(LineNames, ForgetWhatItsSenderDidNotFinish) {
    LineNames names;
    (void)names.fromTool({kVersion.begin(), kVersion.begin() + 5});
    names.forgetUnfinished();
    EXPECT_EQ(names.fromTool(kVersion).front().name, "tool:version#1:0");
}

TEST(LineNames, KnowBlocksAndControlBytes) {
    LineNames names;
    Bytes block(1029, 0x55);
    block[0] = 0x02;
    EXPECT_EQ(names.fromTool(block).back().name, "tool:block#1:1028");
    EXPECT_THAT(namesOf(names.fromTool({0x04, 0x18, 0x18, 0x43})),
                ElementsAre("tool:EOT#1:0", "tool:CAN#1:0", "tool:CAN#2:0", "tool:other#1:0"));
}

TEST(LineNames, CountAnswersFromTheQuestionOn) {
    LineNames names;
    (void)names.fromTool(kVersion);
    EXPECT_EQ(names.fromMcu(), "mcu:version#1:0");
    EXPECT_EQ(names.fromMcu(), "mcu:version#1:1");
    (void)names.fromTool(kVersion);
    EXPECT_EQ(names.fromMcu(), "mcu:version#2:0");
}

TEST(LineNames, LetAStopUploadLeaveTheQuestionOpen) {
    LineNames names;
    (void)names.fromTool(kVersion);
    (void)names.fromMcu();
    (void)names.fromTool(kStopUpload);
    EXPECT_EQ(names.fromMcu(), "mcu:version#1:1");
    EXPECT_THAT(names.questions(), ElementsAre("version#1"));
}

TEST(LineNames, NameWhatComesUnasked) {
    LineNames names;
    EXPECT_EQ(names.fromMcu(), "mcu:nothing:0");
}

TEST(LineNames, KnowATransferByItsBlocksAndItsEnd) {
    LineNames names;
    (void)names.fromTool(kVersion);
    EXPECT_FALSE(names.inTransfer());
    (void)names.fromTool({0x04});
    EXPECT_TRUE(names.inTransfer());
}

}  // namespace
