#include "simulator/mcu/LineDecoder.h"

#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

constexpr milliseconds kGap{100};
constexpr milliseconds kPurge{10};

const char* nameOf(LineItem::Type type) {
    switch (type) {
        case LineItem::Type::Frame:
            return "frame";
        case LineItem::Type::BadFrame:
            return "bad frame";
        case LineItem::Type::Noise:
            return "noise";
        case LineItem::Type::Block:
            return "block";
        case LineItem::Type::DamagedBlock:
            return "damaged";
        case LineItem::Type::Eot:
            return "eot";
        default:
            return "can";
    }
}

class LineDecoderTest : public testing::Test {
  protected:
    void push(const Bytes& bytes) { decoder.push(bytes.data(), bytes.size(), now); }
    void push(const std::string& hex) { push(fromHex(hex).value()); }
    void wait(milliseconds span) { now += span; }
    // What came by now: "frame 7" for a frame of seven bytes, and so on.
    std::vector<std::string> items(bool transfer = false) {
        std::vector<std::string> all;
        while (const auto item = decoder.next(transfer, now)) {
            all.push_back(std::string(nameOf(item->type)) + " " +
                          std::to_string(item->bytes.size()));
        }
        return all;
    }

    LineDecoder decoder{kGap, kPurge};
    Time now{milliseconds(1000)};
};

const char kStopUpload[] = "fe050701000dff";
const char kVersion[] = "fe0601010109ff";

TEST_F(LineDecoderTest, CutsFramesThatCameTogether) {
    push(std::string(kStopUpload) + kVersion);
    EXPECT_THAT(items(), ElementsAre("frame 7", "frame 7"));
}

TEST_F(LineDecoderTest, JoinsAFrameThatCameInBytes) {
    const Bytes frame = fromHex(kVersion).value();
    for (const std::uint8_t byte : frame) {
        EXPECT_THAT(items(), testing::IsEmpty());
        push(Bytes{byte});
        wait(kGap / 2);
    }
    EXPECT_THAT(items(), ElementsAre("frame 7"));
}

TEST_F(LineDecoderTest, FindsAFrameBehindNoise) {
    push(std::string("000506ff") + kVersion);
    EXPECT_THAT(items(), ElementsAre("noise 4", "frame 7"));
}

TEST_F(LineDecoderTest, FindsAFrameBehindAStrayStartByte) {
    push(std::string("fe") + kVersion);
    wait(kGap);
    EXPECT_THAT(items(), ElementsAre("noise 1", "frame 7"));
}

TEST_F(LineDecoderTest, GivesUpAnUnfinishedFrameAfterTheGapOnly) {
    push("fe0601");
    wait(kGap - milliseconds(1));
    EXPECT_THAT(items(), testing::IsEmpty());
    EXPECT_EQ(decoder.nextDeadline(), now + milliseconds(1));
    wait(milliseconds(1));
    EXPECT_THAT(items(), ElementsAre("noise 3"));
}

TEST_F(LineDecoderTest, TellsABadFrame) {
    push(std::string("fe060101010aff") + kVersion);
    EXPECT_THAT(items(), ElementsAre("bad frame 7", "frame 7"));
}

TEST_F(LineDecoderTest, GathersNoiseUntilTheLineIsSilent) {
    push("0102");
    EXPECT_THAT(items(), testing::IsEmpty());
    push("04");
    wait(kPurge);
    EXPECT_THAT(items(), ElementsAre("noise 3"));
    EXPECT_EQ(decoder.nextDeadline(), kNever);
}

TEST_F(LineDecoderTest, CutsBlocksAndControlBytesDuringATransfer) {
    push(xmodemBlock(1, {1, 2, 3}));
    push(xmodemBlock(2, {4}, 128));
    push("0418");
    EXPECT_THAT(items(true), ElementsAre("block 1029", "block 133", "eot 1", "can 1"));
}

TEST_F(LineDecoderTest, KeepsAStrayFrameApartFromTheFirstBlock) {
    push(kStopUpload);
    push(xmodemBlock(1, Bytes(1024, 0x04)));
    EXPECT_THAT(items(true), ElementsAre("frame 7", "block 1029"));
}

TEST_F(LineDecoderTest, TakesAFrameForATargetOfFourNotForEot) {
    push("fe060101040cff");
    EXPECT_THAT(items(true), ElementsAre("frame 7"));
}

TEST_F(LineDecoderTest, NeverReadsControlBytesOutOfADamagedBlock) {
    Bytes block = xmodemBlock(1, Bytes(1024, 0x04));
    block[2] ^= 1U;
    push(block);
    EXPECT_THAT(items(true), testing::IsEmpty());
    wait(kPurge);
    EXPECT_THAT(items(true), ElementsAre("damaged 1029"));
}

TEST_F(LineDecoderTest, ThrowsTheBytesTooManyOfADamagedBlockAway) {
    Bytes block = xmodemBlock(1, Bytes(1024, 0x18));
    block.insert(block.begin() + 500, 0x18);
    push(block);
    wait(kPurge);
    EXPECT_THAT(items(true), ElementsAre("damaged 1030"));
}

TEST_F(LineDecoderTest, TellsABlockThatMissesAByteAfterTheGap) {
    Bytes block = xmodemBlock(1, {});
    block.pop_back();
    push(block);
    wait(kGap - milliseconds(1));
    EXPECT_THAT(items(true), testing::IsEmpty());
    wait(milliseconds(1));
    EXPECT_THAT(items(true), ElementsAre("damaged 1028"));
}

TEST_F(LineDecoderTest, TellsABlockWithAWrongCheck) {
    Bytes block = xmodemBlock(1, {});
    block.back() ^= 1U;
    push(block);
    wait(kPurge);
    EXPECT_THAT(items(true), ElementsAre("damaged 1029"));
}

}  // namespace
