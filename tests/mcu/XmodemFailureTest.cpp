#include <ctime>

#include "tests/mcu/NoteFile.h"
#include "tests/mcu/XmodemFixture.h"

namespace {

using namespace xmodem;

const Bytes kAbort = {kCan, kCan, kCan, kCan};

class XmodemFailure : public XmodemFixture {
  protected:
    // The note behind the start request.
    static std::string noteOfTransfer() {
        const std::string note = noteText();
        const std::string start = "CommandId:0X43\n";
        const std::size_t found = note.find(start);
        return found == std::string::npos ? note : note.substr(found + start.size());
    }

    const ImageFile file{image(1500)};
    const Bytes firstBlock = block(1, image(1024));
};

TEST_F(XmodemFailure, AMissingFileEndsAtOnce) {
    line.send({'C'});

    EXPECT_EQ(sender.sendFile("there-is-none.bin"), -1);

    EXPECT_EQ(line.received(), Bytes{});
    EXPECT_EQ(line.unreadByProduct(), 1);
    EXPECT_EQ(noteText(), "Xmodem start !! \nCan't open file!");
}

TEST_F(XmodemFailure, AFileThatCannotBeReadIsNeverReportedAsSent) {
    transfer("/proc/self", {kAck, kAck});

    EXPECT_EQ(result, -1);
    EXPECT_EQ(wire, kAbort);
    EXPECT_EQ(noteOfTransfer(), "Can't read file!\r\n");
}

TEST_F(XmodemFailure, NoStartRequestEndsWithoutCancelling) {
    sender.setTimeout(0);

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    EXPECT_EQ(line.received(), Bytes{});
    EXPECT_EQ(noteText(), "Xmodem start !! \nopen flie success !(" + file.path() +
                              ")\nRevcice Command TimeOut");
}

TEST_F(XmodemFailure, NoReplyToABlockCancels) {
    sender.setTimeout(1);

    transfer(file.path(), {});

    EXPECT_EQ(result, -2);
    EXPECT_EQ(wire, firstBlock + kAbort);
    EXPECT_EQ(noteOfTransfer(), "waiting for ACK,1,1029,...Revcice Command TimeOut");
}

TEST_F(XmodemFailure, NoReplyToARepeatedBlockCancels) {
    sender.setTimeout(1);

    transfer(file.path(), {kNak});

    EXPECT_EQ(result, -2);
    EXPECT_EQ(wire, firstBlock + firstBlock + kAbort);
    EXPECT_EQ(noteOfTransfer(),
              "waiting for ACK,1,1029,...Error!\r\nRetry for ACK,1,1029...Revcice Command TimeOut");
}

TEST_F(XmodemFailure, NoReplyToTheEndOfTransmissionCancels) {
    sender.setTimeout(1);
    const ImageFile empty({});

    transfer(empty.path(), {kNak});

    EXPECT_EQ(result, -2);
    EXPECT_EQ(wire, Bytes({kEot, kEot}) + kAbort);
    EXPECT_EQ(noteOfTransfer(), "Waiting for complete ACK ...Revcice Command TimeOut");
}

TEST_F(XmodemFailure, CancellingByTheReceiverIsNotAnswered) {
    transfer(file.path(), {kCan});

    EXPECT_EQ(result, -3);
    EXPECT_EQ(wire, firstBlock);
    EXPECT_EQ(noteOfTransfer(), "waiting for ACK,1,1029,...Error!\r\ncancel transfer !\r\n");
}

TEST_F(XmodemFailure, CancellingARepeatedBlockIsNotAnswered) {
    transfer(file.path(), {kNak, kCan});

    EXPECT_EQ(result, -3);
    EXPECT_EQ(wire, firstBlock + firstBlock);
}

TEST_F(XmodemFailure, TwelveRefusalsOfABlockCancel) {
    transfer(file.path(), Bytes(12, kNak));

    EXPECT_EQ(result, -4);
    EXPECT_TRUE(wire == blocks(image(1024), 12) + kAbort);
    std::string note = "waiting for ACK,1,1029,...Error!\r\n";
    for (int i = 0; i < 11; ++i) {
        note += "Retry for ACK,1,1029...Error!\r\n";
    }
    EXPECT_EQ(noteOfTransfer(), note + "Retry too many times,Quit!\r\n");
}

TEST_F(XmodemFailure, AnUnknownReplyToABlockCancels) {
    transfer(file.path(), {0x43});

    EXPECT_EQ(result, -5);
    EXPECT_EQ(wire, firstBlock + kAbort);
    EXPECT_EQ(noteOfTransfer(),
              "waiting for ACK,1,1029,...Error!\r\nRevice Command Error! CommandId:67\r\n");
}

TEST_F(XmodemFailure, AnUnknownReplyToARepeatedBlockCancels) {
    transfer(file.path(), {kNak, 0xFF});

    EXPECT_EQ(result, -5);
    EXPECT_EQ(wire, firstBlock + firstBlock + kAbort);
    EXPECT_EQ(noteOfTransfer(),
              "waiting for ACK,1,1029,...Error!\r\nRetry for ACK,1,1029...Error!\r\n"
              "Revice Command Error! CommandId:255\r\n");
}

TEST_F(XmodemFailure, TheFileIsClosedAndThePortStaysOpen) {
    const std::size_t before = openDescriptorCount();

    transfer(file.path(), {kCan});

    UpdateNote::remove();  // closes the note's descriptor
    EXPECT_EQ(openDescriptorCount(), before);
    transfer(file.path(), {kAck, kAck, kAck});
    EXPECT_EQ(result, 0);
}

TEST_F(XmodemFailure, ALineThatDiesIsGivenUpWithoutTakingTheProcessor) {
    sender.setTimeout(1);
    XmodemPeer peer(line, {}, 'C', XmodemPeer::AfterReplies::HangUp);
    const std::clock_t begin = std::clock();

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 8);
    EXPECT_EQ(peer.stop(), firstBlock);
}

TEST_F(XmodemFailure, AClosedPortIsGivenUp) {
    sender.close();
    sender.setTimeout(0);

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);
}

}  // namespace
