#include "technic/GThreadFIFOComm.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/Pipe.h"
#include "tests/technic/StdoutCapture.h"

namespace {

using Sleeps = std::vector<long>;

std::string lengthBytes(std::uint32_t length) {
    return {reinterpret_cast<const char*>(&length), sizeof(length)};
}

// A record of all zero but its name.
std::string recordOf(const std::string& name) {
    return std::string(20, '\0') + name;
}

class HeartbeatLine : public testing::Test {
  protected:
    static SafePointer<GThreadInfo> worker() { return new (KD_HERE) GThreadInfo("worker"); }
    // What recv returns for these bytes; a record that came has its name in m_name.
    int received(const std::string& wire, unsigned timeout = 0) {
        m_pipe.put(wire);
        GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kRead);
        EXPECT_TRUE(comm.open());
        SafePointer<GThreadInfo> info(new (KD_HERE) GThreadInfo("before"));
        const int result = comm.recv(info, timeout);
        m_name = info->getName();
        return result;
    }

    // The descriptor that is opened next.
    static int nextDescriptor() {
        const int next = dup(STDIN_FILENO);
        close(next);
        return next;
    }
    static std::string sendError(std::size_t length, int lastResult, int descriptor) {
        return "send data error, expected sendLength=" + std::to_string(length) +
               ",but actual sendLength = " + std::to_string(lastResult) +
               ",errno = " + std::to_string(EAGAIN) + ",m_Handle=" + std::to_string(descriptor) +
               "\n";
    }

    DeviceFolder m_folder;
    Pipe m_pipe{m_folder.path("pipe")};
    const int m_firstDescriptor = nextDescriptor();
    std::string m_name;
};

TEST_F(HeartbeatLine, OpensNothingWhenMade) {
    const GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    EXPECT_EQ(nextDescriptor(), m_firstDescriptor);
}

TEST_F(HeartbeatLine, DoesNotOpenWithoutAReader) {
    m_pipe.hangUp();
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    EXPECT_FALSE(comm.open());
}

TEST_F(HeartbeatLine, RecordGoesOutBehindItsSize) {
    const SafePointer<GThreadInfo> info = worker();
    info->setThreadId(0x01020304);
    info->setState(1);
    info->setTimeout(210);
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    ASSERT_TRUE(comm.open());
    StdoutCapture capture;
    EXPECT_EQ(comm.send(info), 0);
    EXPECT_EQ(m_pipe.take(), lengthBytes(26) + "\x01\x02\x03\x04" + lengthBytes(1) +
                                 std::string("\0\0\0\xD2\0\0\0\0\0\0\0\0worker", 18));
    EXPECT_EQ(capture.text(), "");
}

TEST_F(HeartbeatLine, RecordThatDoesNotGoOutInOneSecondIsPrinted) {
    m_pipe.fill();
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    ASSERT_TRUE(comm.open());
    StdoutCapture capture;
    const InstantSleep instant;
    EXPECT_EQ(comm.send(worker()), -1);
    EXPECT_EQ(InstantSleep::taken(), Sleeps(2, 500));
    EXPECT_EQ(capture.text(),
              sendError(30, -1, m_firstDescriptor) +
                  "send GThreadInfo'data error,dataLength = 26,but send length = 0\n");
}

TEST_F(HeartbeatLine, RecordThatGoesOutInPartIsPrinted) {
    const std::size_t capacity = m_pipe.capacity();
    const SafePointer<GThreadInfo> info(new (KD_HERE) GThreadInfo(std::string(capacity, 'n')));
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    ASSERT_TRUE(comm.open());
    StdoutCapture capture;
    const InstantSleep instant;
    EXPECT_EQ(comm.send(info), -1);
    EXPECT_EQ(capture.text(),
              sendError(capacity + 24, -1, m_firstDescriptor) +
                  "send GThreadInfo'data error,dataLength = " + std::to_string(capacity + 20) +
                  ",but send length = " + std::to_string(capacity) + "\n");
}

TEST_F(HeartbeatLine, ClosesThePipeWhenItGoes) {
    {
        GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
        ASSERT_TRUE(comm.open());
        EXPECT_NE(nextDescriptor(), m_firstDescriptor);
    }
    EXPECT_EQ(nextDescriptor(), m_firstDescriptor);
}

TEST_F(HeartbeatLine, RecordIsReceived) {
    EXPECT_EQ(received(lengthBytes(26) + recordOf("worker")), 0);
    EXPECT_EQ(m_name, "worker");
}

TEST_F(HeartbeatLine, RecordShorterThanTheOneBeforeIsReceived) {
    EXPECT_EQ(received(lengthBytes(20) + recordOf("")), 0);
    EXPECT_EQ(m_name, "");
}

TEST_F(HeartbeatLine, LongestRecordThatFitsIsReceived) {
    EXPECT_EQ(received(lengthBytes(1024) + recordOf(std::string(1004, 'n'))), 0);
    EXPECT_EQ(m_name, std::string(1004, 'n'));
}

TEST_F(HeartbeatLine, MissingLengthIsRefused) {
    EXPECT_EQ(received("abc"), -213);
    EXPECT_EQ(m_name, "before");
}

TEST_F(HeartbeatLine, ShortRecordIsRefusedAndPrinted) {
    StdoutCapture capture;
    EXPECT_EQ(received(lengthBytes(26) + "short"), -212);
    EXPECT_EQ(capture.text(), "recv KdLogInfo error,dataLength = 26,but recv length =5\n");
    EXPECT_EQ(m_name, "before");
}

TEST_F(HeartbeatLine, TooLongRecordIsRefusedAndPrinted) {
    StdoutCapture capture;
    EXPECT_EQ(received(lengthBytes(1025) + recordOf(std::string(1005, 'n'))), -212);
    EXPECT_EQ(capture.text(), "recv KdLogInfo error,dataLength = 1025,but recv length =0\n");
    EXPECT_EQ(m_name, "before");
}

TEST_F(HeartbeatLine, LengthAndRecordAreEachWaitedForOneSecond) {
    const StdoutCapture quiet;
    for (const std::string& wire : {std::string(), lengthBytes(26)}) {
        const InstantSleep instant;
        EXPECT_LT(received(wire, 1), 0);
        EXPECT_EQ(InstantSleep::taken(), Sleeps(2, 500));
    }
}

TEST_F(HeartbeatLine, TooFewBytesForARecordAreRefused) {
    EXPECT_EQ(received(lengthBytes(19) + std::string(19, '\0')), -404);
    EXPECT_EQ(m_name, "before");
}

TEST_F(HeartbeatLine, TellsHowManyBytesWait) {
    m_pipe.put("12345");
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kRead);
    EXPECT_EQ(comm.getFifoDataSize(), -1);
    ASSERT_TRUE(comm.open());
    EXPECT_EQ(comm.getFifoDataSize(), 5);
    comm.close();
    EXPECT_EQ(comm.getFifoDataSize(), -1);
}

}  // namespace
