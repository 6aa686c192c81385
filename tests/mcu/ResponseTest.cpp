#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mcu/MCUCommandFactory.h"
#include "mcu/MCURespCommands.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

// Parses from a buffer of exactly the promised size, so that reading outside it is found.
bool parse(MCUCommand& command, const Bytes& frame) {
    const auto buffer = std::make_unique<unsigned char[]>(mcu_frame::kReceiveLength);
    std::copy(frame.begin(), frame.end(), buffer.get());
    return command.parseCommand(buffer.get());
}

TEST(VersionResponse, IsThreeDecimalNumbersWithoutSeparator) {
    MCUVersionRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x02, 0x03, 0x00, 0x05, 0x0C, 0x1C, 0xFF}));
    EXPECT_EQ(command.getVersion(), "0512");
}

TEST(VersionResponse, HasNoPadding) {
    MCUVersionRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x02, 0x03, 1, 2, 10, 0, 0xFF}));
    EXPECT_EQ(command.getVersion(), "1210");
}

TEST(VersionResponse, TakesBytesOfAnyValue) {
    MCUVersionRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x02, 0x03, 255, 255, 255}));
    EXPECT_EQ(command.getVersion(), "255255255");
}

TEST(VersionResponse, ParsedAgainIsReplaced) {
    MCUVersionRespCommand command;
    ASSERT_TRUE(parse(command, {0xFE, 0x06, 0x02, 0x03, 1, 2, 3}));

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x02, 0x03, 4, 5, 6}));
    EXPECT_EQ(command.getVersion(), "456");
}

TEST(StateResponse, IsTheStateByte) {
    MCUStateRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x05, 0x02, 0x01, 0xC8, 0xD0, 0xFF}));
    EXPECT_EQ(command.getState(), 0xC8U);
}

struct UpdateRow {
    unsigned char answer;
    int result;
};

class UpdateResponse : public testing::TestWithParam<UpdateRow> {};

TEST_P(UpdateResponse, OnlyZeroIsAccepted) {
    MCUUpdateRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x05, 0x06, 0x01, GetParam().answer, 0, 0xFF}));
    EXPECT_EQ(command.getResult(), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Table, UpdateResponse,
                         testing::Values(UpdateRow{0, 1}, UpdateRow{1, 0}, UpdateRow{7, 0},
                                         UpdateRow{0xFF, 0}));

TEST(HardwareInfoResponse, IsLowerCaseHexadecimal) {
    MCUHardwareInfoRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x01, 0xC0, 0xFF}));
    EXPECT_EQ(command.getHardwareInfo(), "ab01");
}

TEST(HardwareInfoResponse, MayBeEmpty) {
    MCUHardwareInfoRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x0C, 0x00, 0x12, 0xFF}));
    EXPECT_EQ(command.getHardwareInfo(), "");
}

TEST(HardwareInfoResponse, ParsedAgainIsAppended) {
    MCUHardwareInfoRespCommand command;
    ASSERT_TRUE(parse(command, {0xFE, 0x06, 0x0C, 0x01, 0x0A}));

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x0C, 0x01, 0x0B}));
    EXPECT_EQ(command.getHardwareInfo(), "0a0b");
}

TEST(HardwareInfoResponse, FillsTheLongestFrame) {
    MCUHardwareInfoRespCommand command;

    EXPECT_TRUE(parse(command, {0xFE, 0x06, 0x0C, 28}));
    EXPECT_EQ(command.getHardwareInfo(), std::string(56, '0'));
}

TEST(HardwareInfoResponse, ClaimingMoreThanAFrameHoldsIsRefused) {
    for (int count = 29; count <= 255; ++count) {
        MCUHardwareInfoRespCommand command;

        EXPECT_FALSE(parse(command, {0xFE, 0x06, 0x0C, static_cast<unsigned char>(count)}));
        EXPECT_EQ(command.getHardwareInfo(), "");
    }
}

struct Row {
    int id;
    Bytes frame;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    out << row.id << ':';
    for (const unsigned char byte : row.frame) {
        out << ' ' << static_cast<int>(byte);
    }
    return out;
}

class AcceptedFrame : public testing::TestWithParam<Row> {};

TEST_P(AcceptedFrame, WhateverItsChecksumAndEnd) {
    EXPECT_TRUE(parse(*createRespCommand(GetParam().id), GetParam().frame));
}

INSTANTIATE_TEST_SUITE_P(Table, AcceptedFrame,
                         testing::Values(Row{21000, {0xFE, 0x06, 0x02, 0x03, 1, 2, 3, 0xEE, 0x00}},
                                         Row{21001, {0xFE, 0x05, 0x02, 0x01, 1, 0xEE, 0x00}},
                                         Row{21003, {0xFE, 0x05, 0x06, 0x01, 0, 0xEE, 0x00}},
                                         Row{21006, {0xFE, 0x06, 0x0C, 0x01, 1, 0xEE, 0x00}}));

class RefusedFrame : public testing::TestWithParam<Row> {};

TEST_P(RefusedFrame, IsNotTheResponse) {
    EXPECT_FALSE(parse(*createRespCommand(GetParam().id), GetParam().frame));
}

INSTANTIATE_TEST_SUITE_P(WrongStart, RefusedFrame,
                         testing::Values(Row{21000, {0xFF, 0x06, 0x02, 0x03, 1, 2, 3, 0x11, 0xFF}},
                                         Row{21001, {0x00, 0x05, 0x02, 0x01, 1, 0x09, 0xFF}},
                                         Row{21003, {0xFF, 0x05, 0x06, 0x01, 0, 0x0C, 0xFF}},
                                         Row{21006, {0x7E, 0x06, 0x0C, 0x01, 1, 0x14, 0xFF}}));
INSTANTIATE_TEST_SUITE_P(WrongGroup, RefusedFrame,
                         testing::Values(Row{21000, {0xFE, 0x05, 0x02, 0x03, 1, 2, 3, 0x10, 0xFF}},
                                         Row{21001, {0xFE, 0x06, 0x02, 0x01, 1, 0x0A, 0xFF}},
                                         Row{21003, {0xFE, 0x06, 0x06, 0x01, 0, 0x0D, 0xFF}},
                                         Row{21006, {0xFE, 0x05, 0x0C, 0x01, 1, 0x13, 0xFF}}));
INSTANTIATE_TEST_SUITE_P(WrongCode, RefusedFrame,
                         testing::Values(Row{21000, {0xFE, 0x06, 0x01, 0x03, 1, 2, 3, 0x10, 0xFF}},
                                         Row{21001, {0xFE, 0x05, 0x06, 0x01, 1, 0x0D, 0xFF}},
                                         Row{21003, {0xFE, 0x05, 0x02, 0x01, 0, 0x08, 0xFF}},
                                         Row{21006, {0xFE, 0x06, 0x0B, 0x01, 1, 0x13, 0xFF}}));
INSTANTIATE_TEST_SUITE_P(WrongLength, RefusedFrame,
                         testing::Values(Row{21000, {0xFE, 0x06, 0x02, 0x02, 1, 2, 3, 0x10, 0xFF}},
                                         Row{21000,
                                             {0xFE, 0x06, 0x02, 0x04, 1, 2, 3, 4, 0x16, 0xFF}},
                                         Row{21001, {0xFE, 0x05, 0x02, 0x02, 1, 1, 0x0B, 0xFF}},
                                         Row{21001, {0xFE, 0x05, 0x02, 0x00, 0x07, 0xFF}},
                                         Row{21003, {0xFE, 0x05, 0x06, 0x02, 0, 0, 0x0D, 0xFF}},
                                         Row{21003, {0xFE, 0x05, 0x06, 0x00, 0x0B, 0xFF}}));
INSTANTIATE_TEST_SUITE_P(NeverDecoded, RefusedFrame,
                         testing::Values(Row{21002,
                                             {0xFE, 0x01, 0x11, 0x04, 0, 0x0F, 0, 0, 0x25, 0xFF}},
                                         Row{21004, {0xFE, 0x05, 0x0A, 0x01, 0, 0x10, 0xFF}},
                                         Row{21005, {0xFE, 0x05, 0x08, 0x01, 0, 0x0E, 0xFF}},
                                         Row{30001, {0xFE, 0x05, 0x02, 0x01, 1, 0x09, 0xFF}}));

class NullFrame : public testing::TestWithParam<int> {};

TEST_P(NullFrame, IsRefused) {
    EXPECT_FALSE(createRespCommand(GetParam())->parseCommand(nullptr));
}

INSTANTIATE_TEST_SUITE_P(Table, NullFrame, testing::Values(21000, 21001, 21003, 21006, 30001));

}  // namespace
