#include <chrono>
#include <string>
#include <thread>

#include "tests/mcu/NoteFile.h"
#include "tests/mcu/XmodemFixture.h"

namespace {

using namespace xmodem;

// Longer than the flush before a transfer, which discards a start request that comes too early.
constexpr std::chrono::milliseconds kBeforeStart{300};
constexpr std::chrono::milliseconds kBetweenBytes{1};
constexpr int kMostBytes = 1000;

// What is told before something is done.
class XmodemOrder : public XmodemFixture {
  protected:
    void beginToSend(const ImageFile& file) {
        sending = std::thread([this, &file] { result = sender.sendFile(file.path().c_str()); });
        EXPECT_TRUE(awaitNote("open flie success !("));
        std::this_thread::sleep_for(kBeforeStart);
        line.send({kStart});
    }

    void end() { sending.join(); }

    std::thread sending;
};

// Clearing the line takes as long as bytes come.
TEST_F(XmodemOrder, TheFileIsOpenBeforeTheLineIsCleared) {
    const ImageFile file({});
    sender.setTimeout(-1);  // no wait for the start
    sending = std::thread([&] { result = sender.sendFile(file.path().c_str()); });

    const std::string opened = "Xmodem start !! \nopen flie success !(" + file.path() + ")\n";
    const auto isOpened = [&] { return noteText().compare(0, opened.size(), opened) == 0; };
    for (int count = 0; !isOpened() && count < kMostBytes; ++count) {
        line.send({kAck});
        std::this_thread::sleep_for(kBetweenBytes);
    }

    EXPECT_TRUE(isOpened()) << noteText();
    end();
    EXPECT_EQ(result, -2);
}

TEST_F(XmodemOrder, TheEndOfTransmissionIsToldBeforeItIsSent) {
    const ImageFile file({});
    line.holdOutput();
    beginToSend(file);

    EXPECT_TRUE(awaitNote("Waiting for complete ACK ..."));
    EXPECT_EQ(line.received(), Bytes{});

    line.letOutputGo();
    EXPECT_EQ(line.receive(1), Bytes{kEot});
    line.send({kAck});
    end();
    EXPECT_EQ(result, 0);
}

TEST_F(XmodemOrder, AnUnknownReplyIsToldBeforeTheTransferIsCancelled) {
    const ImageFile file(image(10));
    beginToSend(file);
    EXPECT_EQ(line.receive(kBlockLength), blocks(image(10)));
    line.holdOutput();
    line.send({'x'});

    EXPECT_TRUE(awaitNote("Error!\r\nRevice Command Error! CommandId:120\r\n"));
    EXPECT_EQ(line.received(), Bytes{});

    line.letOutputGo();
    end();
    EXPECT_EQ(line.receive(4), Bytes(4, kCan));
    EXPECT_EQ(result, -5);
}

}  // namespace
