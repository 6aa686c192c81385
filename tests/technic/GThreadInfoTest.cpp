#include "technic/GThreadInfo.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// A state as it stands in this machine's memory.
Bytes native(std::uint32_t value) {
    Bytes bytes(sizeof(value));
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes serialized(const GThreadInfo& info) {
    Bytes bytes(100, 0xEE);
    const int size = info.serialize(bytes.data(), 100);
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
}

const Bytes kFullRecord = Bytes{0x01, 0x02, 0x03, 0x04} + native(1) +
                          Bytes{0, 0, 0, 0xD2, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88} +
                          Bytes{'w', 'o', 'r', 'k', 'e', 'r'};

TEST(GThreadInfo, StartsStoppedWithSixtySeconds) {
    const GThreadInfo info("worker");
    EXPECT_EQ(info.getThreadId(), 0U);
    EXPECT_EQ(info.getState(), 2U);
    EXPECT_EQ(info.getTimeout(), 60U);
    EXPECT_EQ(info.getTimestamp(), 0);
    EXPECT_EQ(info.getName(), "worker");
}

TEST(GThreadInfo, IsBigEndianButForItsState) {
    GThreadInfo info("worker");
    info.setThreadId(0x01020304);
    info.setState(1);
    info.setTimeout(210);
    info.setTimestamp(0x1122334455667788);
    EXPECT_EQ(serialized(info), kFullRecord);
}

TEST(GThreadInfo, NegativeTimestampKeepsItsBits) {
    GThreadInfo info;
    info.setTimestamp(-2);
    const Bytes bytes = serialized(info);
    EXPECT_EQ(Bytes(bytes.begin() + 12, bytes.begin() + 20),
              (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}));
    GThreadInfo copy;
    EXPECT_EQ(copy.deserialize(bytes.data(), 20), 0);
    EXPECT_EQ(copy.getTimestamp(), -2);
}

TEST(GThreadInfo, SizeIsTwentyAndTheName) {
    EXPECT_EQ(GThreadInfo().serializedSize(), 20U);
    EXPECT_EQ(GThreadInfo("worker").serializedSize(), 26U);
}

TEST(GThreadInfo, FillsABufferThatJustFits) {
    Bytes buffer(26);
    EXPECT_EQ(GThreadInfo("worker").serialize(buffer.data(), 26), 26);
}

TEST(GThreadInfo, RefusesATooSmallBuffer) {
    Bytes buffer(26, 0xEE);
    EXPECT_EQ(GThreadInfo("worker").serialize(buffer.data(), 25), -2);
    EXPECT_EQ(buffer, Bytes(26, 0xEE));
}

TEST(GThreadInfo, ReadsWhatItWrote) {
    GThreadInfo info;
    EXPECT_EQ(info.deserialize(kFullRecord.data(), 26), 0);
    EXPECT_EQ(info.getThreadId(), 0x01020304U);
    EXPECT_EQ(info.getState(), 1U);
    EXPECT_EQ(info.getTimeout(), 210U);
    EXPECT_EQ(info.getTimestamp(), 0x1122334455667788);
    EXPECT_EQ(info.getName(), "worker");
}

TEST(GThreadInfo, ReadNameEndsAtItsFirstZero) {
    GThreadInfo info;
    const Bytes bytes = Bytes(20) + Bytes{'a', 'b', 0, 'c'};
    EXPECT_EQ(info.deserialize(bytes.data(), 24), 0);
    EXPECT_EQ(info.getName(), "ab");
}

TEST(GThreadInfo, RecordWithoutANameIsRead) {
    GThreadInfo info;
    const Bytes bytes(20);
    EXPECT_EQ(info.deserialize(bytes.data(), 20), 0);
    EXPECT_EQ(info.getName(), "");
}

TEST(GThreadInfo, RefusesFewerBytesThanItsPresentSize) {
    const Bytes bytes(26);
    GThreadInfo fresh;
    EXPECT_EQ(fresh.deserialize(bytes.data(), 19), -2);
    GThreadInfo named("worker");
    EXPECT_EQ(named.deserialize(bytes.data(), 25), -2);
    EXPECT_EQ(named.getName(), "worker");
    EXPECT_EQ(named.deserialize(bytes.data(), 26), 0);
}

}  // namespace
