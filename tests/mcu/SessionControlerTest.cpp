#include <unistd.h>

#include <string>
#include <thread>

#include "tests/mcu/ControlerFixture.h"
#include "tests/mcu/LineStatus.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

namespace {

constexpr char kBefore[] = "MCUSessionControler::communicate 1111111111\n";
constexpr char kAfter[] = "MCUSessionControler::communicate 22222222222\n";

struct SendOnly {
    const char* name;
    bool (MCUSessionControler::*operation)();
    Bytes frame;
    const char* trace;
};

std::ostream& operator<<(std::ostream& out, const SendOnly& row) {
    return out << row.name;
}

class SendOnlyOperation : public ControlerFixture, public testing::WithParamInterface<SendOnly> {};

TEST_P(SendOnlyOperation, SendsOneRequestAndAwaitsNothing) {
    line.send({0x55});

    EXPECT_TRUE((controler.*GetParam().operation)());

    EXPECT_EQ(line.receive(GetParam().frame.size()), GetParam().frame);
    EXPECT_EQ(line.received(), Bytes{});
    EXPECT_EQ(line.unreadByProduct(), 1);
    EXPECT_EQ(noteText(),
              std::string(kBefore) + "SendCommand : " + GetParam().trace + "\n" + kAfter);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SendOnlyOperation,
    testing::Values(SendOnly{"reset",
                             &MCUSessionControler::reset,
                             {0xFE, 0x01, 0x10, 0x04, 0x00, 0x29, 0x00, 0x00, 0x3E, 0xFF},
                             "fe 01 10 04 00 29 00 00 3e"},
                    SendOnly{"reboot",
                             &MCUSessionControler::reboot,
                             {0xFE, 0x01, 0x10, 0x04, 0x00, 0x0F, 0x00, 0x00, 0x24, 0xFF},
                             "fe 01 10 04 00 0f 00 00 24"},
                    SendOnly{"stopUpload",
                             &MCUSessionControler::stopUpload,
                             {0xFE, 0x05, 0x07, 0x01, 0x00, 0x0D, 0xFF},
                             "fe 05 07 01 00 0d ff 00 00"},
                    SendOnly{"startUpload",
                             &MCUSessionControler::startUpload,
                             {0xFE, 0x05, 0x09, 0x01, 0x00, 0x0F, 0xFF},
                             "fe 05 09 01 00 0f ff 00 00"},
                    SendOnly{"setToBoot",
                             &MCUSessionControler::setToBoot,
                             {0xFE, 0x05, 0x03, 0x01, 0x03, 0x0C, 0xFF},
                             "fe 05 03 01 03 0c ff 00 00"}));

TEST_F(ControlerFixture, ARequestIsTracedBeforeItGoesOutAndOnceMoreAfterwards) {
    const std::string before = std::string(kBefore) + "SendCommand : fe 05 07 01 00 0d ff 00 00\n";
    line.holdOutput();
    std::thread sender([this] { EXPECT_TRUE(controler.stopUpload()); });

    EXPECT_TRUE(awaitNote(before));
    EXPECT_EQ(noteText(), before);
    EXPECT_EQ(line.received(), Bytes{});

    line.letOutputGo();
    sender.join();
    EXPECT_EQ(noteText(), before + kAfter);
}

TEST_F(ControlerFixture, TheTargetIsZeroUntilSet) {
    MCUSessionControler other;
    other.setDeviceName(line.path());
    other.setParam(115200, 8, 0, 0);
    ASSERT_TRUE(other.open());

    EXPECT_TRUE(other.setToBoot());

    EXPECT_EQ(line.receive(7), (Bytes{0xFE, 0x05, 0x03, 0x01, 0x00, 0x09, 0xFF}));
}

TEST_F(ControlerFixture, EveryIdCanBeSent) {
    EXPECT_TRUE(controler.communicate(20008));

    EXPECT_EQ(line.receive(7), (Bytes{0xFE, 0x02, 0x06, 0x01, 0x00, 0x09, 0xFF}));
}

TEST_F(ControlerFixture, ARequestWithoutAFrameFailsWithAMessage) {
    const OutputCapture output(STDOUT_FILENO);

    EXPECT_FALSE(controler.communicate(0));

    EXPECT_EQ(output.text(), "createCommand error\n");
    EXPECT_EQ(noteText(), "");
    EXPECT_EQ(line.received(), Bytes{});
}

TEST_F(ControlerFixture, AFailedWriteEndsCommunicateWithoutTheSecondTrace) {
    const NoLineStatus noLineStatus;

    EXPECT_FALSE(controler.stopUpload());

    EXPECT_EQ(noteText(), std::string(kBefore) + "SendCommand : fe 05 07 01 00 0d ff 00 00\n");
}

TEST_F(ControlerFixture, AFailedWriteEndsAQueryBeforeItReads) {
    const NoLineStatus noLineStatus;
    line.send({0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF});
    unsigned state = 99;

    EXPECT_FALSE(controler.getState(state));

    EXPECT_EQ(state, 99U);
    EXPECT_EQ(line.unreadByProduct(), 7);
}

TEST_F(ControlerFixture, AClosedControllerSendsNothing) {
    controler.close();

    EXPECT_FALSE(controler.stopUpload());

    EXPECT_EQ(line.received(), Bytes{});
}

TEST(SessionControler, OpenFailsWhenTheDeviceIsMissing) {
    MCUSessionControler controler;
    controler.setDeviceName("/dev/there-is-none");
    controler.setParam(115200, 8, 0, 0);

    EXPECT_FALSE(controler.open());
}

TEST(SessionControler, OpenFailsWhenAParameterIsRefused) {
    const PseudoTerminal line;
    MCUSessionControler controler;
    controler.setDeviceName(line.path());
    controler.setParam(115200, 9, 0, 0);

    EXPECT_FALSE(controler.open());
}

TEST(SessionControler, PassesItsSettingsToTheSession) {
    UpdateNote::remove();
    MCUSessionControler controler;
    controler.setDeviceName("/dev/there-is-none");
    controler.setParam(57600, 7, 2, 1);

    EXPECT_FALSE(controler.open());

    EXPECT_EQ(noteText(),
              " m_strDeviceName = /dev/there-is-none\n m_nBaudrate = 57600\n m_nDatabits = 7\n"
              " m_nStopbits = 2\n m_nParity = 1\n ");
}

TEST(SessionControler, ADroppedControllerClosesItsPort) {
    const PseudoTerminal line;
    UpdateNote::remove();  // closes the note's descriptor, so that the port's alone is counted
    const std::size_t before = openDescriptorCount();
    {
        MCUSessionControler controler;
        controler.setDeviceName(line.path());
        controler.setParam(115200, 8, 0, 0);
        ASSERT_TRUE(controler.open());
        UpdateNote::remove();
        ASSERT_EQ(openDescriptorCount(), before + 1);
    }

    EXPECT_EQ(openDescriptorCount(), before);
}

TEST_F(ControlerFixture, GetStateYieldsTheStateByte) {
    line.send({0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF});
    unsigned state = 99;

    EXPECT_TRUE(controler.getState(state));

    EXPECT_EQ(state, 1U);
    EXPECT_EQ(line.receive(7), (Bytes{0xFE, 0x05, 0x01, 0x01, 0x03, 0x0A, 0xFF}));
}

TEST_F(ControlerFixture, GetVersionYieldsTheVersionText) {
    line.send({0xFE, 0x06, 0x02, 0x03, 0x00, 0x05, 0x0C, 0x1C, 0xFF});
    std::string version;

    EXPECT_TRUE(controler.getVersion(version));

    EXPECT_EQ(version, "0512");
    EXPECT_EQ(line.receive(7), (Bytes{0xFE, 0x06, 0x01, 0x01, 0x03, 0x0B, 0xFF}));
}

TEST_F(ControlerFixture, GetHardwareInfoYieldsTheHexText) {
    line.send({0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x01, 0xC0, 0xFF});
    std::string hardwareInfo = "old";

    EXPECT_TRUE(controler.getHardwareInfo(hardwareInfo));

    EXPECT_EQ(hardwareInfo, "ab01");
    EXPECT_EQ(line.receive(7), (Bytes{0xFE, 0x06, 0x0B, 0x01, 0x03, 0x15, 0xFF}));
}

TEST_F(ControlerFixture, UpdateYieldsWhetherItIsPermitted) {
    line.send({0xFE, 0x05, 0x06, 0x01, 0x00, 0x0C, 0xFF, 0xFE, 0x05, 0x06, 0x01, 0x01, 0x0D, 0xFF});
    unsigned char result = 99;

    EXPECT_TRUE(controler.update(result));
    EXPECT_EQ(result, 1);
    EXPECT_TRUE(controler.update(result));
    EXPECT_EQ(result, 0);

    EXPECT_EQ(line.receive(7), (Bytes{0xFE, 0x05, 0x05, 0x01, 0x03, 0x0E, 0xFF}));
}

TEST_F(ControlerFixture, AQueryWithoutAnAnswerFailsAndLeavesThePortOpen) {
    Bytes tooLong(33, 0x20);
    tooLong[0] = 0xFE;
    line.send(tooLong);
    unsigned state = 99;

    EXPECT_FALSE(controler.getState(state));

    EXPECT_EQ(state, 99U);
    line.send({0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF});
    EXPECT_TRUE(controler.getState(state));
}

TEST_F(ControlerFixture, AQueryIsTracedByteByByte) {
    line.send({0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF});
    unsigned state = 0;

    EXPECT_TRUE(controler.getState(state));

    EXPECT_EQ(noteText(), std::string(kBefore) + "SendCommand : fe 05 01 01 03 0a ff 00 00\n" +
                              kAfter +
                              "RecvCommand : fe \nRecvCommand : 05 \nRecvCommand : 02 \n"
                              "RecvCommand : 01 \nRecvCommand : 01 \nRecvCommand : 09 \n"
                              "RecvCommand : ff \n");
}

TEST_F(ControlerFixture, ClearRecvBufferDiscardsUntilSilence) {
    line.send({0xFE, 0x00, 0xFF});

    EXPECT_EQ(controler.clearRecvBuffer(), 0);

    EXPECT_EQ(line.unreadByProduct(), 0);
    EXPECT_EQ(noteText(),
              "RecvCommand : fe \nRecvCommand : 00 \nRecvCommand : ff \nRecvCommand : 00 \n");
}

TEST_F(ControlerFixture, ClearRecvBufferDiscardsHoweverMuchThereIs) {
    line.send(Bytes(3000, 0xFE));

    EXPECT_EQ(controler.clearRecvBuffer(), 0);

    EXPECT_EQ(line.unreadByProduct(), 0);
}

TEST_F(ControlerFixture, ClearRecvBufferOfAClosedLineReturnsTheError) {
    controler.close();

    EXPECT_EQ(controler.clearRecvBuffer(), -1);
}

TEST_F(ControlerFixture, TheTimeoutReachesTheSession) {
    controler.setTimeout(7);
    line.send({0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF});
    const OutputCapture output(STDOUT_FILENO);
    unsigned state = 0;

    EXPECT_TRUE(controler.getState(state));

    EXPECT_NE(output.text().find("timeout : 7 s\nRecvCommand : fe \n"), std::string::npos);
}

}  // namespace
