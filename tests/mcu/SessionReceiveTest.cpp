#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>

#include "mcu/MCUCommandFactory.h"
#include "mcu/MCURespCommands.h"
#include "tests/mcu/ControlerFixture.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

namespace {

const Bytes kStateOne = {0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF};

// A frame of hardware information, `length` bytes in all.
Bytes hardwareFrame(std::size_t length) {
    Bytes frame = {0xFE, 0x06, 0x0C, static_cast<unsigned char>(length - 6)};
    frame.resize(length - 2, 0x11);
    frame.push_back(0x00);
    frame.push_back(0xFF);
    return frame;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

class SessionReceive : public ControlerFixture {
  protected:
    bool receive(int responseId) { return controler.recvCommand(response, responseId); }
    template <class Response>
    const Response& received() const {
        return dynamic_cast<const Response&>(*response);
    }

    // Behind a pointer, for a handle may throw when it goes and a fixture must not.
    const std::unique_ptr<SafePointer<MCUCommand>> handle =
        std::make_unique<SafePointer<MCUCommand>>(createRespCommand(30001));
    SafePointer<MCUCommand>& response = *handle;
};

TEST_F(SessionReceive, StoresTheResponseInTheHandle) {
    line.send(kStateOne);

    EXPECT_TRUE(receive(21001));

    EXPECT_EQ(received<MCUStateRespCommand>().getState(), 1U);
}

TEST_F(SessionReceive, NoiseBeforeAFrameIsSkipped) {
    line.send({0x00, 0xFF, 0x05, 0x02, 0x01});
    line.send(kStateOne);

    EXPECT_TRUE(receive(21001));

    EXPECT_EQ(received<MCUStateRespCommand>().getState(), 1U);
}

TEST_F(SessionReceive, AFrameThatFailsIsFollowedByAGoodOne) {
    line.send({0xFE, 0x06, 0x02, 0x03, 1, 2, 3, 0x11, 0xFF});
    line.send(kStateOne);

    EXPECT_TRUE(receive(21001));

    EXPECT_EQ(received<MCUStateRespCommand>().getState(), 1U);
    EXPECT_NE(noteText().find("RecvCommand : ff \nparseCommand failed!\nRecvCommand : fe \n"),
              std::string::npos);
}

TEST_F(SessionReceive, BytesBetweenFramesAreSkipped) {
    line.send({0xFE, 0x01, 0xFF, 0x77, 0x78});
    line.send(kStateOne);

    EXPECT_TRUE(receive(21001));
}

TEST_F(SessionReceive, ReadsNoFurtherThanTheEndByte) {
    line.send(kStateOne);
    line.send({0x33});

    EXPECT_TRUE(receive(21001));

    EXPECT_EQ(line.unreadByProduct(), 1);
}

TEST_F(SessionReceive, AFrameOfThirtyTwoBytesIsAccepted) {
    line.send(hardwareFrame(32));

    EXPECT_TRUE(receive(21006));

    std::string expected;
    for (int i = 0; i < 26; ++i) {
        expected += "11";
    }
    EXPECT_EQ(received<MCUHardwareInfoRespCommand>().getHardwareInfo(), expected);
}

TEST_F(SessionReceive, AFrameOfThirtyThreeBytesIsOutOfRange) {
    line.send(hardwareFrame(33));
    const OutputCapture output(STDOUT_FILENO);

    EXPECT_FALSE(receive(21006));

    EXPECT_TRUE(endsWith(output.text(), "szRecvCommandBuf out of range: 33 \n"));
    EXPECT_EQ(noteText().find("out of range"), std::string::npos);
    EXPECT_EQ(line.unreadByProduct(), 0);
}

TEST_F(SessionReceive, ThirtyTwoBytesWithoutAnEndAreOutOfRange) {
    Bytes bytes(33, 0x20);
    bytes[0] = 0xFE;
    line.send(bytes);
    line.send({0x21});
    const OutputCapture output(STDOUT_FILENO);

    EXPECT_FALSE(receive(21001));

    EXPECT_TRUE(endsWith(output.text(), "szRecvCommandBuf out of range: 33 \n"));
    EXPECT_EQ(line.unreadByProduct(), 1);
    EXPECT_EQ(response->getCommandId(), 30001);
}

TEST_F(SessionReceive, ADataByteFFEndsTheFrameEarly) {
    line.send({0xFE, 0x06, 0x02, 0x03, 0x01, 0xFF});

    EXPECT_TRUE(receive(21000));

    EXPECT_EQ(received<MCUVersionRespCommand>().getVersion(), "12550");
}

TEST_F(SessionReceive, BehindAShortFrameStandsWhatALongerOneLeft) {
    line.send({0xFE, 0x06, 0x0C, 0x03, 0x07, 0x08, 0x09, 0x00, 0xFF});
    line.send({0xFE, 0x06, 0x02, 0x03, 0x01, 0xFF});

    EXPECT_TRUE(receive(21000));

    EXPECT_EQ(received<MCUVersionRespCommand>().getVersion(), "12559");
}

TEST_F(SessionReceive, ACountBeyondTheFrameIsNoResponse) {
    line.send({0xFE, 0x06, 0x0C, 0xFE, 0x01, 0xFF});
    line.send({0xFE, 0x06, 0x0C, 0x01, 0xAB, 0xBE, 0xFF});

    EXPECT_TRUE(receive(21006));

    EXPECT_EQ(received<MCUHardwareInfoRespCommand>().getHardwareInfo(), "ab");
}

TEST_F(SessionReceive, SilenceEndsTheCallAfterOneTimeout) {
    const auto begin = std::chrono::steady_clock::now();

    EXPECT_FALSE(receive(21001));

    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, std::chrono::milliseconds(490));
    EXPECT_LT(took, std::chrono::milliseconds(950));
    EXPECT_EQ(noteText(), "RecvCommand : 00 \nrecvCommand Ret = 0\n");
    EXPECT_EQ(response->getCommandId(), 30001);
}

TEST_F(SessionReceive, SilenceWithinAFrameEndsTheCall) {
    line.send({0xFE, 0x05});

    EXPECT_FALSE(receive(21001));

    EXPECT_EQ(noteText(),
              "RecvCommand : fe \nRecvCommand : 05 \nRecvCommand : 00 \nrecvCommand Ret = 0\n");
}

TEST_F(SessionReceive, AReadErrorEndsTheCall) {
    controler.close();

    EXPECT_FALSE(receive(21001));

    EXPECT_EQ(noteText(), "RecvCommand : 00 \nrecvCommand Ret = -1\n");
}

TEST_F(SessionReceive, AResponseThatIsNeverDecodedIsNeverAccepted) {
    line.send({0xFE, 0x01, 0x11, 0x04, 0, 0x0F, 0, 0, 0x25, 0xFF});

    EXPECT_FALSE(receive(21009));

    EXPECT_TRUE(
        endsWith(noteText(), "parseCommand failed!\nRecvCommand : 00 \nrecvCommand Ret = 0\n"));
}

}  // namespace
