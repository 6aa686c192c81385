#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "mcu/MCUSession.h"
#include "mcu/UpdateNote.h"
#include "tests/mcu/LineStatus.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

class Session : public testing::Test {
  protected:
    void SetUp() override {
        session.setDeviceName(line.path());
        session.setParam(115200, 8, 0, 0);
        session.setTimeout(0);
        ASSERT_EQ(session.open(), 0);
        UpdateNote::remove();
    }

    int send(const Bytes& bytes) {
        return session.SendCommand(bytes.data(), static_cast<int>(bytes.size()));
    }

    PseudoTerminal line;
    MCUSession session;
};

TEST(SessionOpen, TracesTheParametersAndSetsTheLineUp) {
    UpdateNote::remove();
    const PseudoTerminal line;
    MCUSession session;
    session.setDeviceName(line.path());
    session.setParam(19200, 8, 2, 0);

    EXPECT_EQ(session.open(), 0);

    const termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B19200));
    EXPECT_NE(settings.c_cflag & CSTOPB, 0U);
    EXPECT_EQ(noteText(), " m_strDeviceName = " + line.path() +
                              "\n m_nBaudrate = 19200\n m_nDatabits = 8\n m_nStopbits = 2\n"
                              " m_nParity = 0\n ");
}

TEST(SessionOpen, WithoutParametersTracesTheInitialOnes) {
    UpdateNote::remove();
    MCUSession session;

    EXPECT_EQ(session.open(), -1);

    EXPECT_EQ(noteText(),
              " m_strDeviceName = \n m_nBaudrate = 0\n m_nDatabits = 0\n m_nStopbits = 0\n"
              " m_nParity = 0\n ");
}

TEST(SessionOpen, AMissingDeviceFails) {
    MCUSession session;
    session.setDeviceName("/dev/there-is-none");
    session.setParam(115200, 8, 0, 0);

    EXPECT_EQ(session.open(), -1);
}

TEST(SessionOpen, ADeviceThatIsNoTerminalFails) {
    MCUSession session;
    session.setDeviceName("/dev/null");
    session.setParam(115200, 8, 0, 0);

    EXPECT_EQ(session.open(), -1);
}

TEST(SessionOpen, ARefusedParameterFailsAndLeavesThePortOpen) {
    const PseudoTerminal line;
    MCUSession session;
    session.setDeviceName(line.path());
    session.setParam(115200, 8, 1, 0);
    UpdateNote::remove();  // closes the note's descriptor, so that the port's alone is counted
    const std::size_t before = openDescriptorCount();

    EXPECT_EQ(session.open(), -1);

    UpdateNote::remove();
    EXPECT_EQ(openDescriptorCount(), before + 1);
}

TEST(SessionOpen, TakesTheParametersThatWereSetBeforeIt) {
    const PseudoTerminal line;
    MCUSession session;
    session.setDeviceName(line.path());
    session.setParam(115200, 8, 0, 0);
    ASSERT_EQ(session.open(), 0);

    session.setParam(19200, 8, 0, 0);

    termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B115200));
    EXPECT_EQ(session.open(), 0);
    settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B19200));
}

TEST(SessionOpen, ADroppedSessionClosesItsPort) {
    const PseudoTerminal line;
    UpdateNote::remove();  // closes the note's descriptor, so that the port's alone is counted
    const std::size_t before = openDescriptorCount();
    {
        MCUSession session;
        session.setDeviceName(line.path());
        session.setParam(115200, 8, 0, 0);
        ASSERT_EQ(session.open(), 0);
        UpdateNote::remove();
        ASSERT_EQ(openDescriptorCount(), before + 1);
    }

    EXPECT_EQ(openDescriptorCount(), before);
}

TEST_F(Session, SendsTheBytesAndTracesTheFirstNine) {
    const Bytes frame = {0xFE, 0x01, 0x10, 0x04, 0x00, 0x0F, 0x00, 0x00, 0x24, 0xFF};

    EXPECT_EQ(send(frame), 10);

    EXPECT_EQ(line.receive(10), frame);
    EXPECT_EQ(noteText(), "SendCommand : fe 01 10 04 00 0f 00 00 24\n");
}

TEST_F(Session, TracesZerosBehindTheEndOfAShortFrame) {
    EXPECT_EQ(send({0xFE, 0x05, 0x07, 0x01, 0x00, 0x0D, 0xFF}), 7);

    EXPECT_EQ(noteText(), "SendCommand : fe 05 07 01 00 0d ff 00 00\n");
}

TEST_F(Session, SendFailsWithoutALineStatus) {
    const NoLineStatus noLineStatus;

    EXPECT_EQ(send({1, 2}), -1);

    EXPECT_EQ(line.receive(2), (Bytes{1, 2}));
}

TEST_F(Session, AClosedSessionNeitherSendsNorReceives) {
    session.close();
    unsigned char byte = 0;

    EXPECT_EQ(send({1, 2}), -1);
    EXPECT_EQ(session.RecvCommand(&byte, 1), -1);

    EXPECT_EQ(line.received(), Bytes{});
}

TEST_F(Session, ClosingTwiceIsHarmless) {
    session.close();
    session.close();
}

TEST_F(Session, CanBeOpenedAgain) {
    session.close();

    EXPECT_EQ(session.open(), 0);
    EXPECT_EQ(send({7}), 1);
    EXPECT_EQ(line.receive(1), Bytes{7});
}

TEST_F(Session, ReceivesAndTracesEveryRequestedPosition) {
    line.send({0xAB, 0x01});
    unsigned char buffer[4] = {0, 0, 0x77, 0};

    EXPECT_EQ(session.RecvCommand(buffer, 4), 2);

    EXPECT_EQ(buffer[0], 0xAB);
    EXPECT_EQ(buffer[1], 0x01);
    EXPECT_EQ(noteText(), "RecvCommand : ab 01 77 00 \n");
}

TEST_F(Session, ReturnsZeroWhenNothingComesInTime) {
    unsigned char byte = 0;

    EXPECT_EQ(session.RecvCommand(&byte, 1), 0);

    EXPECT_EQ(noteText(), "RecvCommand : 00 \n");
}

TEST_F(Session, PrintsTheTimeoutToStandardOutputOnly) {
    line.send({5});
    session.setTimeout(7);
    unsigned char byte = 0;
    const OutputCapture output(STDOUT_FILENO);

    EXPECT_EQ(session.RecvCommand(&byte, 1), 1);

    EXPECT_EQ(output.text(), "timeout : 7 s\nRecvCommand : 05 \n");
    EXPECT_EQ(noteText(), "RecvCommand : 05 \n");
}

TEST(SessionTimeout, IsThreeSecondsUntilSet) {
    MCUSession session;
    unsigned char byte = 0;
    const OutputCapture output(STDOUT_FILENO);

    EXPECT_EQ(session.RecvCommand(&byte, 1), -1);

    EXPECT_EQ(output.text(), "timeout : 3 s\nRecvCommand : 00 \n");
}

TEST_F(Session, ConcurrentCallersDoNotInterleave) {
    constexpr int kRounds = 40;
    constexpr std::size_t kReadLength = 64;
    line.send(Bytes(kRounds * kReadLength, 0x42));

    std::thread sender([this] {
        for (int i = 0; i < kRounds; ++i) {
            EXPECT_EQ(send({0xFE, 0x01, 0x02, 0xFF}), 4);
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        Bytes buffer(kReadLength, 0x42);
        EXPECT_GE(session.RecvCommand(buffer.data(), kReadLength), 1);
    }
    sender.join();

    const std::string sent = "SendCommand : fe 01 02 ff 00 00 00 00 00\n";
    std::string received = "RecvCommand : ";
    for (std::size_t i = 0; i < kReadLength; ++i) {
        received += "42 ";
    }
    received += "\n";
    std::string note = noteText();
    int traces = 0;
    while (!note.empty()) {
        const std::string& trace = note.compare(0, sent.size(), sent) == 0 ? sent : received;
        ASSERT_EQ(note.substr(0, trace.size()), trace);
        note.erase(0, trace.size());
        ++traces;
    }
    EXPECT_EQ(traces, 2 * kRounds);
    Bytes frames;
    for (int i = 0; i < kRounds; ++i) {
        frames.insert(frames.end(), {0xFE, 0x01, 0x02, 0xFF});
    }
    EXPECT_EQ(line.receive(frames.size()), frames);
}

}  // namespace
