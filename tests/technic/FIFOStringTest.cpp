#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <string>

#include "technic/FIFOChannel.h"
#include "tests/technic/ChannelFixture.h"
#include "tests/technic/StdoutCapture.h"

namespace {

class ChannelMessage : public Channel {};

TEST_F(ChannelMessage, LengthGoesOutInTheMachinesOrder) {
    openForWriting();
    EXPECT_EQ(m_channel.writeLength(0x01020304, 1), 0);
    EXPECT_EQ(m_pipe.take(), lengthBytes(0x01020304));
}

TEST_F(ChannelMessage, LengthThatDoesNotFitIsRefused) {
    openForWriting();
    m_pipe.fill();
    const StdoutCapture quiet;
    EXPECT_EQ(m_channel.writeLength(4, 0), -1);
}

TEST_F(ChannelMessage, LengthIsReadInTheMachinesOrder) {
    openForReading(lengthBytes(0x01020304));
    unsigned int value = 0;
    EXPECT_EQ(m_channel.readLength(&value, 0), 0);
    EXPECT_EQ(value, 0x01020304U);
}

TEST_F(ChannelMessage, ShortLengthIsRefused) {
    openForReading("abc");
    unsigned int value = 7;
    EXPECT_EQ(m_channel.readLength(&value, 0), -1);
    EXPECT_EQ(value, 7U);
}

TEST_F(ChannelMessage, StringIsItsLengthAndItsBytes) {
    openForWriting();
    EXPECT_EQ(m_channel.sendString("text", 1), 0);
    EXPECT_EQ(m_channel.sendString("", 1), 0);
    EXPECT_EQ(m_pipe.take(), lengthBytes(4) + "text" + lengthBytes(0));
}

TEST_F(ChannelMessage, StringThatDoesNotGoOutIsPrinted) {
    openForWriting();
    m_pipe.fill();
    StdoutCapture capture;
    EXPECT_EQ(m_channel.sendString("text", 0), -1);
    EXPECT_EQ(capture.text(), sendError(8, -1, EAGAIN) + "send data(text)error..\n");
}

struct StringCase {
    const char* what;
    std::string wire;
    int result;
    std::string text;
};

void PrintTo(const StringCase& row, std::ostream* out) {
    *out << row.what;
}

class ReceivedString : public Channel, public testing::WithParamInterface<StringCase> {};

TEST_P(ReceivedString, Is) {
    openForReading(GetParam().wire);
    std::string text = "before";
    EXPECT_EQ(m_channel.recvString(text, 0), GetParam().result);
    EXPECT_EQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Whole, ReceivedString,
    testing::Values(StringCase{"followed by more", lengthBytes(4) + "textmore", 0, "text"},
                    StringCase{"empty", lengthBytes(0), 0, ""},
                    StringCase{"with a zero byte", lengthBytes(3) + std::string("a\0b", 3), 0,
                               std::string("a\0b", 3)},
                    StringCase{"of 1024 bytes", lengthBytes(1024) + std::string(1024, 'l'), 0,
                               std::string(1024, 'l')}));

INSTANTIATE_TEST_SUITE_P(
    Refused, ReceivedString,
    testing::Values(StringCase{"nothing", "", -1, "before"},
                    StringCase{"short length", "abc", -1, "before"},
                    StringCase{"short text", lengthBytes(5) + "text", -1, "before"},
                    StringCase{"of 1025 bytes", lengthBytes(1025) + std::string(1025, 'l'), -1,
                               "before"},
                    StringCase{"of 4 GB", lengthBytes(0xFFFFFFFF) + "text", -1, "before"}));

}  // namespace
