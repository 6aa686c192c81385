#include <algorithm>

#include "tests/mcu/NoteFile.h"
#include "tests/mcu/XmodemFixture.h"

namespace {

using namespace xmodem;

class Xmodem : public XmodemFixture {};

std::string beginOfNote(const std::string& path) {
    return "Xmodem start !! \nopen flie success !(" + path +
           ")\nReviced start Command!  CommandId:0X43\n";
}

std::string endOfNote(const std::string& path) {
    return "Waiting for complete ACK ...OK\r\nSending file complete\r\nsend flie success !(" +
           path + ")\n";
}

TEST_F(Xmodem, AnEmptyFileIsTheEndOfTransmissionAlone) {
    const ImageFile file({});

    transfer(file.path(), {kAck});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, Bytes{kEot});
    EXPECT_EQ(noteText(), beginOfNote(file.path()) + endOfNote(file.path()));
}

TEST_F(Xmodem, AFileOfTwoWholeBlocksIsNotFilledUp) {
    const ImageFile file(image(2048));

    transfer(file.path(), {kAck, kAck, kAck});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, blocks(image(2048)) + Bytes{kEot});
    EXPECT_EQ(noteText(), beginOfNote(file.path()) +
                              "waiting for ACK,1,1029,...Ok!\r\nwaiting for ACK,2,1029,...Ok!\r\n" +
                              endOfNote(file.path()));
}

TEST_F(Xmodem, TheLastBlockIsFilledUpWithZeros) {
    const ImageFile file(image(1500));

    transfer(file.path(), {kAck, kAck, kAck});

    EXPECT_EQ(result, 0);
    ASSERT_EQ(wire.size(), 2 * kBlockLength + 1);
    EXPECT_EQ(wire, blocks(image(1500)) + Bytes{kEot});
    const auto fill = wire.begin() + kBlockLength + 3 + 476;
    EXPECT_EQ(std::count(fill, fill + 548, 0), 548);
    EXPECT_EQ(noteText(), beginOfNote(file.path()) +
                              "waiting for ACK,1,1029,...Ok!\r\nStart filling the last frame!\r\n"
                              "waiting for ACK,2,1029,...Ok!\r\n" +
                              endOfNote(file.path()));
}

TEST_F(Xmodem, AFileOfOneByteIsOneBlock) {
    const ImageFile file({0x5A});

    transfer(file.path(), {kAck, kAck});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, block(1, {0x5A}) + Bytes{kEot});
}

TEST_F(Xmodem, BlockNumbersWrapToZero) {
    const ImageFile file(image(257 * kDataLength));

    transfer(file.path(), Bytes(258, kAck));

    EXPECT_EQ(result, 0);
    ASSERT_EQ(wire.size(), 257 * kBlockLength + 1);
    EXPECT_EQ(wire[254 * kBlockLength + 1], 0xFF);
    EXPECT_EQ(wire[254 * kBlockLength + 2], 0x00);
    EXPECT_EQ(wire[255 * kBlockLength + 1], 0x00);
    EXPECT_EQ(wire[255 * kBlockLength + 2], 0xFF);
    EXPECT_TRUE(wire == blocks(image(257 * kDataLength)) + Bytes{kEot});
    EXPECT_NE(noteText().find("waiting for ACK,256,1029,...Ok!\r\n"), std::string::npos);
}

class XmodemStart : public Xmodem, public testing::WithParamInterface<int> {};

TEST_P(XmodemStart, AnyByteStartsTheTransfer) {
    const ImageFile file(image(10));

    transfer(file.path(), {kAck, kAck}, static_cast<unsigned char>(GetParam()));

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, blocks(image(10)) + Bytes{kEot});
    char started[64];
    (void)std::snprintf(started, sizeof started, "Reviced start Command!  CommandId:0X%x\n",
                        GetParam());
    EXPECT_NE(noteText().find(started), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Bytes, XmodemStart, testing::Values('C', 0x15, 0x18, 0x00, 0xFF));

TEST_F(Xmodem, WhatTheLineHoldsBeforeTheTransferIsDiscarded) {
    const ImageFile file(image(10));
    line.send({kAck, kCan, 'x', '\n'});

    transfer(file.path(), {kAck, kAck});

    EXPECT_EQ(result, 0);
    EXPECT_NE(noteText().find("CommandId:0X43\n"), std::string::npos);
}

TEST_F(Xmodem, ARefusedBlockIsRepeatedUnchanged) {
    const ImageFile file(image(1500));

    transfer(file.path(), {kNak, kAck, kNak, kAck, kAck});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, blocks(image(1500), 2) + Bytes{kEot});
    EXPECT_EQ(noteText(),
              beginOfNote(file.path()) +
                  "waiting for ACK,1,1029,...Error!\r\nRetry for ACK,1,1029...OK\r\n"
                  "Start filling the last frame!\r\nwaiting for ACK,2,1029,...Error!\r\n"
                  "Retry for ACK,2,1029...OK\r\n" +
                  endOfNote(file.path()));
}

TEST_F(Xmodem, ElevenRefusalsOfABlockAreRepeated) {
    const ImageFile file(image(2048));
    // Of both blocks, so that the count starts anew with each.
    const Bytes once = Bytes(11, kNak) + Bytes{kAck};

    transfer(file.path(), once + once + Bytes{kAck});

    EXPECT_EQ(result, 0);
    EXPECT_TRUE(wire == blocks(image(2048), 12) + Bytes{kEot});
}

TEST_F(Xmodem, TheEndOfTransmissionIsRepeatedUntilAcknowledged) {
    const ImageFile file({});

    transfer(file.path(), Bytes(20, kNak) + Bytes{kCan, 'x', kAck});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, Bytes(23, kEot));
    EXPECT_EQ(noteText(), beginOfNote(file.path()) + endOfNote(file.path()));
}

TEST_F(Xmodem, ASecondFileStartsFromBlockOne) {
    const ImageFile file(image(10));
    transfer(file.path(), {kAck, kAck});

    transfer(file.path(), {kAck, kAck});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(wire, blocks(image(10)) + Bytes{kEot});
}

TEST_F(Xmodem, ALongPathIsCutInTheNoteOnly) {
    const std::string folder(200, 'd');
    const ImageFile file({}, folder + "/" + std::string(200, 'f'));

    transfer(file.path(), {kAck});

    EXPECT_EQ(result, 0);
    const std::string shown = file.path().substr(0, 233);
    EXPECT_EQ(noteText(), beginOfNote(shown) + endOfNote(shown));
}

TEST_F(Xmodem, ASentFileIsClosed) {
    const ImageFile file(image(10));
    const std::size_t before = openDescriptorCount();

    transfer(file.path(), {kAck, kAck});

    UpdateNote::remove();  // closes the note's descriptor
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(XmodemCrc, OfTheCheckDigits) {
    const Bytes digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

    EXPECT_EQ(XmodemSender::calcCRC16(digits.data(), 9), 0x31C3);
}

TEST(XmodemCrc, OfNothingIsZero) {
    EXPECT_EQ(XmodemSender::calcCRC16(nullptr, 0), 0);
}

TEST(XmodemCrc, OfTheLongestLength) {
    Bytes bytes(65535, 0);
    bytes.back() = 0x01;

    // Zeros in front change nothing, so it is the polynomial itself.
    EXPECT_EQ(XmodemSender::calcCRC16(bytes.data(), 65535), 0x1021);
}

}  // namespace
