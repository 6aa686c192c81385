#include "technic/FIFOChannel.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <thread>

#include "tests/technic/DeviceFolder.h"
#include "tests/technic/Pipe.h"
#include "tests/technic/StdoutCapture.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string lengthBytes(std::uint32_t length) {
    return {reinterpret_cast<const char*>(&length), sizeof(length)};
}

class Channel : public testing::Test {
  protected:
    void openForWriting() { ASSERT_TRUE(m_channel.open(m_pipe.path(), FIFOChannel::kWrite)); }
    // With `content` waiting in the pipe.
    void openForReading(const std::string& content) {
        m_pipe.put(content);
        ASSERT_TRUE(m_channel.open(m_pipe.path(), FIFOChannel::kRead));
    }
    int write(const std::string& text, unsigned timeout) {
        return m_channel.writeData(bytesOf(text), static_cast<int>(text.size()), timeout);
    }
    std::string read(int length, unsigned timeout) {
        std::string buffer(static_cast<std::size_t>(length), '\0');
        const int n =
            m_channel.readData(reinterpret_cast<unsigned char*>(buffer.data()), length, timeout);
        return buffer.substr(0, static_cast<std::size_t>(n));
    }
    std::string sendError(int length, int lastResult, int error) const {
        return "send data error, expected sendLength=" + std::to_string(length) +
               ",but actual sendLength = " + std::to_string(lastResult) +
               ",errno = " + std::to_string(error) +
               ",m_Handle=" + std::to_string(m_channel.getHandle()) + "\n";
    }

    DeviceFolder m_folder;
    Pipe m_pipe{m_folder.path("pipe")};
    FIFOChannel m_channel;
};

TEST_F(Channel, CreateMakesAPipeForItsOwnerOnly) {
    const std::string path = m_folder.path("new");
    StdoutCapture capture;
    EXPECT_EQ(FIFOChannel::create(path.c_str()), 0);
    struct stat status {};
    stat(path.c_str(), &status);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFIFO | 0600));
    EXPECT_EQ(capture.text(), "");
}

TEST_F(Channel, CreateOnAnExistingPathSaysSoWithoutALineEnd) {
    StdoutCapture capture;
    EXPECT_EQ(FIFOChannel::create(m_pipe.path().c_str()), -1);
    EXPECT_EQ(capture.text(), "Fail to create FIFO " + m_pipe.path() + ": File exists");
}

TEST_F(Channel, CreateInAMissingFolderSaysSo) {
    const std::string path = m_folder.path("none/pipe");
    StdoutCapture capture;
    EXPECT_EQ(FIFOChannel::create(path.c_str()), -1);
    EXPECT_EQ(capture.text(), "Fail to create FIFO " + path + ": No such file or directory");
}

TEST_F(Channel, IsClosedAtFirst) {
    EXPECT_EQ(m_channel.getHandle(), -1);
}

TEST_F(Channel, OpensForReadingWithoutAWriter) {
    EXPECT_TRUE(m_channel.open(m_pipe.path(), 1));
    EXPECT_EQ(fcntl(m_channel.getHandle(), F_GETFL) & (O_ACCMODE | O_NONBLOCK),
              O_RDONLY | O_NONBLOCK);
}

TEST_F(Channel, OpensForWritingWithAReader) {
    EXPECT_TRUE(m_channel.open(m_pipe.path(), 2));
    EXPECT_EQ(fcntl(m_channel.getHandle(), F_GETFL) & (O_ACCMODE | O_NONBLOCK),
              O_WRONLY | O_NONBLOCK);
}

TEST_F(Channel, DoesNotOpenForWritingWithoutAReader) {
    m_pipe.hangUp();
    EXPECT_FALSE(m_channel.open(m_pipe.path(), 2));
    EXPECT_EQ(m_channel.getHandle(), -1);
}

TEST_F(Channel, DoesNotOpenAMissingPipe) {
    EXPECT_FALSE(m_channel.open(m_folder.path("none"), 1));
    EXPECT_EQ(m_channel.getHandle(), -1);
}

TEST_F(Channel, RefusesOtherModes) {
    for (const int mode : {0, 3, -1}) {
        EXPECT_FALSE(m_channel.open(m_pipe.path(), mode));
        EXPECT_EQ(m_channel.getHandle(), -1);
    }
}

TEST_F(Channel, CloseClosesTheDescriptorOnce) {
    openForWriting();
    const int handle = m_channel.getHandle();
    m_channel.close();
    EXPECT_EQ(m_channel.getHandle(), -1);
    EXPECT_EQ(fcntl(handle, F_GETFD), -1);
    m_channel.close();
}

TEST_F(Channel, ClosesWhenItGoes) {
    int handle = -1;
    {
        FIFOChannel channel;
        channel.open(m_pipe.path(), 2);
        handle = channel.getHandle();
    }
    EXPECT_EQ(fcntl(handle, F_GETFD), -1);
}

TEST_F(Channel, OpeningAnewLeavesNoDescriptorBehind) {
    openForWriting();
    const int former = m_channel.getHandle();
    openForWriting();
    EXPECT_EQ(m_channel.getHandle(), former);
}

TEST_F(Channel, WritesAllBytes) {
    openForWriting();
    EXPECT_EQ(write("some data", 1), 9);
    EXPECT_EQ(m_pipe.take(), "some data");
}

TEST_F(Channel, WritesNothingForALengthBelowOne) {
    openForWriting();
    for (const int length : {0, -1}) {
        EXPECT_EQ(m_channel.writeData(bytesOf("x"), length, 1), 0);
    }
    EXPECT_EQ(m_pipe.take(), "");
}

TEST_F(Channel, FullPipeIsTriedThreeTimesForOneSecond) {
    openForWriting();
    m_pipe.fill();
    StdoutCapture capture;
    const auto start = steady_clock::now();
    EXPECT_EQ(write("data", 1), 0);
    const auto taken = steady_clock::now() - start;
    EXPECT_GE(taken, milliseconds(1000));
    EXPECT_LT(taken, milliseconds(1490));
    EXPECT_EQ(capture.text(), sendError(4, -1, EAGAIN));
}

TEST_F(Channel, FullPipeIsTriedOnceWithoutATimeOut) {
    openForWriting();
    m_pipe.fill();
    StdoutCapture capture;
    const auto start = steady_clock::now();
    EXPECT_EQ(write("data", 0), 0);
    EXPECT_LT(steady_clock::now() - start, milliseconds(490));
    EXPECT_EQ(capture.text(), sendError(4, -1, EAGAIN));
}

TEST_F(Channel, ThirdTryStillSucceeds) {
    openForWriting();
    m_pipe.fill();
    std::thread reader([this] {
        std::this_thread::sleep_for(milliseconds(750));
        m_pipe.take();
    });
    EXPECT_EQ(write("data", 1), 4);
    reader.join();
    EXPECT_EQ(m_pipe.take(), "data");
}

TEST_F(Channel, PartOfTheDataIsCountedWhenNoMoreFits) {
    openForWriting();
    const auto capacity = static_cast<int>(m_pipe.capacity());
    const std::string data(m_pipe.capacity() + 10, 'd');
    StdoutCapture capture;
    EXPECT_EQ(write(data, 0), capacity);
    EXPECT_EQ(capture.text(), sendError(capacity + 10, -1, EAGAIN));
}

TEST_F(Channel, ReaderThatWentAwayIsAFailedWrite) {
    // The signal is the process's own setting.
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    openForWriting();
    m_pipe.hangUp();
    StdoutCapture capture;
    EXPECT_EQ(write("data", 0), 0);
    EXPECT_EQ(capture.text(), sendError(4, -1, EPIPE));
    std::signal(SIGPIPE, before);
}

TEST_F(Channel, ReadsWhatWaits) {
    openForReading("abcdef");
    EXPECT_EQ(read(4, 0), "abcd");
    EXPECT_EQ(read(2, 0), "ef");
}

TEST_F(Channel, ReadsNothingForALengthBelowOne) {
    openForReading("abc");
    EXPECT_EQ(read(0, 1), "");
    EXPECT_EQ(m_channel.readData(nullptr, -1, 1), 0);
}

TEST_F(Channel, ShortReadGivesWhatCameAndSaysNothing) {
    openForReading("abc");
    StdoutCapture capture;
    EXPECT_EQ(read(5, 0), "abc");
    EXPECT_EQ(capture.text(), "");
}

TEST_F(Channel, ReadWaitsForLateData) {
    openForReading("ab");
    std::thread writer([this] {
        std::this_thread::sleep_for(milliseconds(200));
        m_pipe.put("cd");
    });
    EXPECT_EQ(read(4, 1), "abcd");
    writer.join();
}

TEST_F(Channel, ReadGivesUpAfterTwoPausesForOneSecond) {
    openForReading("");
    const auto start = steady_clock::now();
    EXPECT_EQ(read(4, 1), "");
    const auto taken = steady_clock::now() - start;
    EXPECT_GE(taken, milliseconds(1000));
    EXPECT_LT(taken, milliseconds(1490));
}

TEST_F(Channel, LengthGoesOutInTheMachinesOrder) {
    openForWriting();
    EXPECT_EQ(m_channel.writeLength(0x01020304, 1), 0);
    EXPECT_EQ(m_pipe.take(), lengthBytes(0x01020304));
}

TEST_F(Channel, LengthThatDoesNotFitIsRefused) {
    openForWriting();
    m_pipe.fill();
    const StdoutCapture quiet;
    EXPECT_EQ(m_channel.writeLength(4, 0), -1);
}

TEST_F(Channel, LengthIsReadInTheMachinesOrder) {
    openForReading(lengthBytes(0x01020304));
    unsigned int value = 0;
    EXPECT_EQ(m_channel.readLength(&value, 0), 0);
    EXPECT_EQ(value, 0x01020304U);
}

TEST_F(Channel, ShortLengthIsRefused) {
    openForReading("abc");
    unsigned int value = 7;
    EXPECT_EQ(m_channel.readLength(&value, 0), -1);
    EXPECT_EQ(value, 7U);
}

TEST_F(Channel, StringIsItsLengthAndItsBytes) {
    openForWriting();
    EXPECT_EQ(m_channel.sendString("text", 1), 0);
    EXPECT_EQ(m_channel.sendString("", 1), 0);
    EXPECT_EQ(m_pipe.take(), lengthBytes(4) + "text" + lengthBytes(0));
}

TEST_F(Channel, StringThatDoesNotGoOutIsPrinted) {
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
