#include "simulator/mcu/Frame.h"

#include <gmock/gmock.h>

#include "simulator/mcu/CommandSet.h"

namespace {

FrameScan scanHex(const std::string& hex) {
    return scanFrame(fromHex(hex).value());
}

struct RequestCase {
    const char* hex;
    RequestKind kind;
    int target;  // -1: all
};

void PrintTo(const RequestCase& row, std::ostream* out) {
    *out << row.hex;
}

class RequestFrames : public testing::TestWithParam<RequestCase> {};

TEST_P(RequestFrames, AreRecognised) {
    const RequestCase& row = GetParam();
    const FrameScan scan = scanHex(row.hex);
    ASSERT_EQ(scan.match, FrameMatch::Complete);
    const auto request = decodeRequest(scan.frame);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->kind, row.kind);
    EXPECT_EQ(request->target.has_value() ? int{*request->target} : -1, row.target);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RequestFrames,
    testing::Values(RequestCase{"fe0601010109ff", RequestKind::Version, 1},
                    RequestCase{"fe060101ff07ff", RequestKind::Version, 255},
                    RequestCase{"fe060101fe06ff", RequestKind::Version, 254},
                    RequestCase{"fe050101030aff", RequestKind::State, 3},
                    RequestCase{"fe060b010113ff", RequestKind::Hardware, 1},
                    RequestCase{"fe050501010cff", RequestKind::Update, 1},
                    RequestCase{"fe050301010aff", RequestKind::SetToBoot, 1},
                    RequestCase{"fe01100400 0f0000 24ff", RequestKind::Reboot, -1},
                    RequestCase{"fe01100400 290000 3eff", RequestKind::Reset, -1},
                    RequestCase{"fe050901000fff", RequestKind::StartUpload, -1},
                    RequestCase{"fe050701000dff", RequestKind::StopUpload, -1},
                    RequestCase{"fe0206010009ff", RequestKind::AlarmOff, -1}));

struct NoRequestCase {
    const char* claim;
    Frame frame;
};

void PrintTo(const NoRequestCase& row, std::ostream* out) {
    *out << row.claim;
}

class OtherFrames : public testing::TestWithParam<NoRequestCase> {};

TEST_P(OtherFrames, AreNoRequests) {
    EXPECT_EQ(decodeRequest(GetParam().frame), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Table, OtherFrames,
    testing::Values(NoRequestCase{"unknown code", {0x06, 0x03, {1}}},
                    NoRequestCase{"unknown group", {0x07, 0x01, {1}}},
                    NoRequestCase{"no target", {0x06, 0x01, {}}},
                    NoRequestCase{"too much data", {0x06, 0x01, {1, 2}}},
                    NoRequestCase{"order neither reboot nor reset", {0x01, 0x10, {0, 0x10, 0, 0}}},
                    NoRequestCase{"stop-upload with a target", {0x05, 0x07, {1}}}));

TEST(Frame, IsBuiltWithTheSumOfItsPayload) {
    EXPECT_EQ(toHex(versionReply({2, 10, 5})), "fe060203020a051cff");
    EXPECT_EQ(toHex(stateReply(1)), "fe0502010109ff");
    EXPECT_EQ(toHex(updateReply(0)), "fe050601000cff");
    EXPECT_EQ(toHex(hardwareReply({0xAB, 0x01})), "fe060c02ab01c0ff");
    EXPECT_EQ(toHex(hardwareReply({})), "fe060c0012ff");
}

TEST(Frame, EndsWhereItsLengthByteSays) {
    const FrameScan scan = scanHex("fe0703 03 fffeff 09 ff 0506");
    EXPECT_EQ(scan.match, FrameMatch::Complete);
    EXPECT_EQ(scan.length, 9U);
    EXPECT_EQ(scan.frame.data, (Bytes{0xFF, 0xFE, 0xFF}));
}

TEST(Frame, WithAWrongChecksumIsABadOne) {
    EXPECT_EQ(scanHex("fe060101010aff").match, FrameMatch::BadChecksum);
}

TEST(Frame, WithoutItsEndByteIsNone) {
    EXPECT_EQ(scanHex("fe060101010900").match, FrameMatch::None);
}

TEST(Frame, ThatIsNotWholeYetMayStillBecomeOne) {
    EXPECT_EQ(scanHex("fe").match, FrameMatch::Incomplete);
    EXPECT_EQ(scanHex("fe06010101 09").match, FrameMatch::Incomplete);
}

TEST(Frame, LongerThanAnyRequestIsNone) {
    EXPECT_EQ(scanHex("fe0601ff").match, FrameMatch::None);
}

}  // namespace
