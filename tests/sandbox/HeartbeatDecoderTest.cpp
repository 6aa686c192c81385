#include "simulator/sandbox/HeartbeatDecoder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

std::string native(std::uint32_t value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

// Thread 0x01020304, state 1, time-out 210, timestamp 0x0000000500000006.
std::string recordOf(const std::string& name) {
    return std::string("\x01\x02\x03\x04", 4) + native(1) + std::string("\0\0\0\xd2", 4) +
           std::string("\0\0\0\x05\0\0\0\x06", 8) + name;
}

std::string message(const std::string& record) {
    return native(static_cast<std::uint32_t>(record.size())) + record;
}

HeartbeatDecoder decoderOf(const std::string& bytes) {
    HeartbeatDecoder decoder;
    decoder.append(bytes.data(), bytes.size());
    return decoder;
}

TEST(HeartbeatDecoder, ReadsEveryField) {
    const auto decoded = decoderOf(message(recordOf("worker"))).next();

    ASSERT_TRUE(decoded);
    const auto& heartbeat = std::get<Heartbeat>(*decoded);
    EXPECT_EQ(heartbeat.threadId, 0x01020304U);
    EXPECT_EQ(heartbeat.state, 1U);
    EXPECT_EQ(heartbeat.timeout, 210U);
    EXPECT_EQ(heartbeat.timestamp, 0x500000006);
    EXPECT_EQ(heartbeat.name, "worker");
}

TEST(HeartbeatDecoder, ReadsANegativeTimestamp) {
    std::string record = recordOf("");
    record.replace(12, 8, std::string(8, '\xff'));

    EXPECT_EQ(std::get<Heartbeat>(*decoderOf(message(record)).next()).timestamp, -1);
}

TEST(HeartbeatDecoder, ReadsARecordWithoutAName) {
    EXPECT_EQ(std::get<Heartbeat>(*decoderOf(message(recordOf(""))).next()).name, "");
}

TEST(HeartbeatDecoder, EndsTheNameAtAZeroByte) {
    const std::string record = recordOf(std::string("wor\0ker", 7));

    EXPECT_EQ(std::get<Heartbeat>(*decoderOf(message(record)).next()).name, "wor");
}

TEST(HeartbeatDecoder, ReadsMessagesOneAfterTheOther) {
    auto decoder = decoderOf(message(recordOf("one")) + message(recordOf("two")));

    EXPECT_EQ(std::get<Heartbeat>(*decoder.next()).name, "one");
    EXPECT_EQ(std::get<Heartbeat>(*decoder.next()).name, "two");
    EXPECT_FALSE(decoder.next());
    EXPECT_TRUE(decoder.isEmpty());
}

TEST(HeartbeatDecoder, WaitsForTheLastByte) {
    const std::string bytes = message(recordOf("worker"));
    HeartbeatDecoder decoder;
    for (const char byte : bytes) {
        EXPECT_FALSE(decoder.next());
        decoder.append(&byte, 1);
    }

    EXPECT_TRUE(decoder.next());
}

TEST(HeartbeatDecoder, GoesOnAfterARecordThatIsTooShort) {
    auto decoder = decoderOf(message(std::string(19, 'x')) + message(recordOf("next")));

    const auto malformed = std::get<MalformedMessage>(*decoder.next());
    EXPECT_EQ(malformed.reason, "a length of 19 is too short");
    EXPECT_EQ(malformed.bytes, message(std::string(19, 'x')));
    EXPECT_EQ(std::get<Heartbeat>(*decoder.next()).name, "next");
}

TEST(HeartbeatDecoder, ReadsTheLongestRecord) {
    auto decoder = decoderOf(message(recordOf(std::string(1004, 'n'))));

    EXPECT_EQ(std::get<Heartbeat>(*decoder.next()).name.size(), 1004U);
}

TEST(HeartbeatDecoder, DropsEverythingAfterALengthThatIsTooLong) {
    auto decoder = decoderOf(native(1025) + "abc");

    EXPECT_EQ(std::get<MalformedMessage>(*decoder.next()).bytes, native(1025) + "abc");
    EXPECT_TRUE(decoder.isEmpty());
}

TEST(HeartbeatDecoder, HandsOutAnIncompleteMessageOnRequest) {
    auto decoder = decoderOf(native(26) + "abc");

    EXPECT_EQ(decoder.takeIncomplete()->bytes, native(26) + "abc");
    EXPECT_FALSE(decoder.takeIncomplete());
}

}  // namespace
