#include "mcu/MCUCommandFactory.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

namespace {

struct Row {
    int asked;
    int id;
    const char* typeName;  // as the compiler spells it
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.asked;
}

class RequestFactory : public testing::TestWithParam<Row> {};

TEST_P(RequestFactory, MakesTheClassOfTheId) {
    const SafePointer<MCUCommand> command = createReqCommand(GetParam().asked);

    EXPECT_EQ(command->getCommandId(), GetParam().id);
    EXPECT_STREQ(typeid(*command).name(), GetParam().typeName);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RequestFactory,
    testing::Values(
        Row{20000, 20000, "20MCUVersionReqCommand"}, Row{20001, 20001, "18MCUStateReqCommand"},
        Row{20002, 20002, "19MCURebootReqCommand"}, Row{20003, 20003, "19MCUUpdateReqCommand"},
        Row{20004, 20004, "24MCUStartUploadReqCommand"},
        Row{20005, 20005, "23MCUStopUploadReqCommand"},
        Row{20006, 20006, "25MCUHardwareInfoReqCommand"},
        Row{20007, 20007, "22MCUSetToBootReqCommand"}, Row{20008, 20008, "21MCUAlarmOffReqCommand"},
        Row{20009, 20009, "18MCUResetReqCommand"}, Row{20010, 30000, "17MCUNullReqCommand"},
        Row{30000, 30000, "17MCUNullReqCommand"}, Row{21000, 30000, "17MCUNullReqCommand"},
        Row{0, 30000, "17MCUNullReqCommand"}, Row{-1, 30000, "17MCUNullReqCommand"}));

class ResponseFactory : public testing::TestWithParam<Row> {};

TEST_P(ResponseFactory, MakesTheClassOfTheId) {
    const SafePointer<MCUCommand> command = createRespCommand(GetParam().asked);

    EXPECT_EQ(command->getCommandId(), GetParam().id);
    EXPECT_STREQ(typeid(*command).name(), GetParam().typeName);
}

INSTANTIATE_TEST_SUITE_P(Table, ResponseFactory,
                         testing::Values(Row{21000, 21000, "21MCUVersionRespCommand"},
                                         Row{21001, 21001, "19MCUStateRespCommand"},
                                         Row{21002, 21002, "20MCURebootRespCommand"},
                                         Row{21003, 21003, "20MCUUpdateRespCommand"},
                                         Row{21004, 21004, "25MCUStartUploadRespCommand"},
                                         Row{21005, 21005, "24MCUStopUploadRespCommand"},
                                         Row{21006, 21006, "26MCUHardwareInfoRespCommand"},
                                         Row{21007, 30001, "18MCUNullRespCommand"},
                                         Row{21008, 30001, "18MCUNullRespCommand"},
                                         Row{21009, 21002, "20MCURebootRespCommand"},
                                         Row{30001, 30001, "18MCUNullRespCommand"},
                                         Row{20000, 30001, "18MCUNullRespCommand"},
                                         Row{0, 30001, "18MCUNullRespCommand"}));

TEST(CommandFactory, EveryCallMakesAFreshObject) {
    const SafePointer<MCUCommand> first = createReqCommand(20001);
    const SafePointer<MCUCommand> second = createReqCommand(20001);

    EXPECT_NE(first.get(), second.get());
}

}  // namespace
