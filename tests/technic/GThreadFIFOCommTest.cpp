#include "technic/GThreadFIFOComm.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/Pipe.h"
#include "tests/technic/StdoutCapture.h"

namespace {

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
    int received(const std::string& wire) {
        m_pipe.put(wire);
        GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kRead);
        EXPECT_TRUE(comm.open());
        SafePointer<GThreadInfo> info(new (KD_HERE) GThreadInfo("before"));
        const int result = comm.recv(info, 0);
        m_name = info->getName();
        return result;
    }

    DeviceFolder m_folder;
    Pipe m_pipe{m_folder.path("pipe")};
    std::string m_name;
};

TEST_F(HeartbeatLine, OpensNothingWhenMade) {
    m_pipe.hangUp();
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    EXPECT_FALSE(comm.open());
}

TEST_F(HeartbeatLine, RecordGoesOutBehindItsSize) {
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    ASSERT_TRUE(comm.open());
    EXPECT_EQ(comm.send(worker()), 0);
    const std::string wire = m_pipe.take();
    EXPECT_EQ(wire.size(), 30U);
    EXPECT_EQ(wire.substr(0, 4), lengthBytes(26));
    EXPECT_EQ(wire.substr(24), "worker");
}

TEST_F(HeartbeatLine, StateGoesOutAsItStandsAndTimeoutBigEndian) {
    const SafePointer<GThreadInfo> info = worker();
    info->setState(1);
    info->setTimeout(210);
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    ASSERT_TRUE(comm.open());
    EXPECT_EQ(comm.send(info), 0);
    EXPECT_EQ(m_pipe.take().substr(8, 8), lengthBytes(1) + std::string("\0\0\0\xD2", 4));
}

TEST_F(HeartbeatLine, RecordThatDoesNotGoOutIsPrinted) {
    m_pipe.fill();
    GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
    ASSERT_TRUE(comm.open());
    StdoutCapture capture;
    EXPECT_EQ(comm.send(worker()), -1);
    const std::string text = capture.text();
    EXPECT_EQ(text.substr(text.find('\n') + 1),
              "send GThreadInfo'data error,dataLength = 26,but send length = 0\n");
}

TEST_F(HeartbeatLine, RecordIsReceived) {
    EXPECT_EQ(received(lengthBytes(26) + recordOf("worker")), 0);
    EXPECT_EQ(m_name, "worker");
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
