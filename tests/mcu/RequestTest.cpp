#include <gtest/gtest.h>

#include <typeinfo>

#include "mcu/MCUCommandFactory.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

Bytes frameOf(const MCUCommand& command) {
    return {command.getCommandBuf(), command.getCommandBuf() + command.getCommandLen()};
}

struct Row {
    int id;
    int target;
    Bytes frame;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.id << " to " << row.target;
}

class Request : public testing::TestWithParam<Row> {};

TEST_P(Request, BuildsItsFrame) {
    const SafePointer<MCUCommand> command = createReqCommand(GetParam().id);
    command->setTarget(GetParam().target);

    ASSERT_TRUE(command->createCommand());

    EXPECT_EQ(frameOf(*command), GetParam().frame);
}

INSTANTIATE_TEST_SUITE_P(
    WithTarget, Request,
    testing::Values(Row{20000, 3, {0xFE, 0x06, 0x01, 0x01, 0x03, 0x0B, 0xFF}},
                    Row{20001, 3, {0xFE, 0x05, 0x01, 0x01, 0x03, 0x0A, 0xFF}},
                    Row{20003, 3, {0xFE, 0x05, 0x05, 0x01, 0x03, 0x0E, 0xFF}},
                    Row{20006, 3, {0xFE, 0x06, 0x0B, 0x01, 0x03, 0x15, 0xFF}},
                    Row{20007, 3, {0xFE, 0x05, 0x03, 0x01, 0x03, 0x0C, 0xFF}},
                    Row{20000, 0, {0xFE, 0x06, 0x01, 0x01, 0x00, 0x08, 0xFF}},
                    Row{20000, 0xF7, {0xFE, 0x06, 0x01, 0x01, 0xF7, 0xFF, 0xFF}},
                    Row{20001, 0xFE, {0xFE, 0x05, 0x01, 0x01, 0xFE, 0x05, 0xFF}},
                    Row{20000, 0xFF, {0xFE, 0x06, 0x01, 0x01, 0xFF, 0x07, 0xFF}},
                    Row{20001, 0xFF, {0xFE, 0x05, 0x01, 0x01, 0xFF, 0x06, 0xFF}},
                    Row{20003, 0xFF, {0xFE, 0x05, 0x05, 0x01, 0xFF, 0x0A, 0xFF}},
                    Row{20006, 0xFF, {0xFE, 0x06, 0x0B, 0x01, 0xFF, 0x11, 0xFF}},
                    Row{20007, 0xFF, {0xFE, 0x05, 0x03, 0x01, 0xFF, 0x08, 0xFF}},
                    Row{20001, 0x1203, {0xFE, 0x05, 0x01, 0x01, 0x03, 0x0A, 0xFF}},
                    Row{20001, -1, {0xFE, 0x05, 0x01, 0x01, 0xFF, 0x06, 0xFF}}));

INSTANTIATE_TEST_SUITE_P(
    WithoutTarget, Request,
    testing::Values(Row{20002, 3, {0xFE, 0x01, 0x10, 0x04, 0x00, 0x0F, 0x00, 0x00, 0x24, 0xFF}},
                    Row{20004, 3, {0xFE, 0x05, 0x09, 0x01, 0x00, 0x0F, 0xFF}},
                    Row{20005, 3, {0xFE, 0x05, 0x07, 0x01, 0x00, 0x0D, 0xFF}},
                    Row{20008, 3, {0xFE, 0x02, 0x06, 0x01, 0x00, 0x09, 0xFF}},
                    Row{20009, 3, {0xFE, 0x01, 0x10, 0x04, 0x00, 0x29, 0x00, 0x00, 0x3E, 0xFF}}));

TEST(MCUCommand, IsEmptyAfterConstruction) {
    const SafePointer<MCUCommand> command = createReqCommand(20001);

    EXPECT_EQ(command->getTarget(), 0);
    EXPECT_EQ(command->getCommandBuf(), nullptr);
    EXPECT_EQ(command->getCommandLen(), 0U);
}

TEST(MCUCommand, BaseHasNoIdAndNeitherBuildsNorParses) {
    MCUCommand command;
    const unsigned char frame[mcu_frame::kReceiveLength] = {0xFE, 0x05, 0x02, 0x01, 0x01};

    EXPECT_STREQ(typeid(command).name(), "10MCUCommand");
    EXPECT_EQ(command.getCommandId(), 0);
    EXPECT_FALSE(command.createCommand());
    EXPECT_FALSE(command.parseCommand(frame));
}

TEST(MCUCommand, NullRequestHasNoFrame) {
    const SafePointer<MCUCommand> command = createReqCommand(0);

    EXPECT_FALSE(command->createCommand());
    EXPECT_EQ(command->getCommandBuf(), nullptr);
    EXPECT_EQ(command->getCommandLen(), 0U);
}

TEST(MCUCommand, NoResponseBuildsAFrame) {
    for (const int id : {21000, 21001, 21002, 21003, 21004, 21005, 21006, 21009, 30001}) {
        const SafePointer<MCUCommand> command = createRespCommand(id);

        EXPECT_FALSE(command->createCommand()) << id;
        EXPECT_EQ(command->getCommandBuf(), nullptr) << id;
        EXPECT_EQ(command->getCommandLen(), 0U) << id;
    }
}

TEST(MCUCommand, NoRequestParsesAReply) {
    const unsigned char replies[][mcu_frame::kReceiveLength] = {
        {0xFE, 0x06, 0x02, 0x03, 1, 2, 3, 0x11, 0xFF},
        {0xFE, 0x05, 0x02, 0x01, 1, 0x09, 0xFF},
        {0xFE, 0x05, 0x06, 0x01, 0, 0x0C, 0xFF},
        {0xFE, 0x06, 0x0C, 0x01, 1, 0x14, 0xFF}};
    for (const int id :
         {20000, 20001, 20002, 20003, 20004, 20005, 20006, 20007, 20008, 20009, 30000}) {
        for (const auto& reply : replies) {
            EXPECT_FALSE(createReqCommand(id)->parseCommand(reply)) << id;
        }
    }
}

TEST(MCUCommand, BuiltAgainHasTheFrameOfTheNewTarget) {
    const SafePointer<MCUCommand> command = createReqCommand(20001);
    ASSERT_TRUE(command->createCommand());
    command->setTarget(3);

    ASSERT_TRUE(command->createCommand());

    EXPECT_EQ(frameOf(*command), (Bytes{0xFE, 0x05, 0x01, 0x01, 0x03, 0x0A, 0xFF}));
}

TEST(MCUCommand, FrameOfNoPayloadAtAllIsRefused) {
    MCUCommand command;
    const unsigned char payload[] = {1};

    EXPECT_FALSE(command.makeFrame(nullptr, 4));
    EXPECT_FALSE(command.makeFrame(payload, -1));
    EXPECT_EQ(command.getCommandBuf(), nullptr);
    EXPECT_EQ(command.getCommandLen(), 0U);
}

TEST(MCUCommand, FrameOfAnEmptyPayloadIsThreeBytes) {
    MCUCommand command;
    const unsigned char payload[] = {1};

    ASSERT_TRUE(command.makeFrame(payload, 0));

    EXPECT_EQ(frameOf(command), (Bytes{0xFE, 0x00, 0xFF}));
}

TEST(MCUCommand, ChecksumIsThePlainSum) {
    const unsigned char payload[] = {0xFF, 0xFF, 0x02};

    EXPECT_EQ(MCUCommand::calcCheckSum(payload, 3), 0x200U);
    EXPECT_EQ(MCUCommand::calcCheckSum(payload, 0), 0U);
    EXPECT_EQ(MCUCommand::calcCheckSum(payload, -1), 0U);
    EXPECT_EQ(MCUCommand::calcCheckSum(nullptr, 3), 0U);
}

}  // namespace
