#include "technic/FIFOChannel.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <vector>

#include "tests/technic/ChannelFixture.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/StdoutCapture.h"

namespace {

using Sleeps = std::vector<long>;

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

TEST_F(Channel, FullPipeIsTriedTwiceMoreForEachSecond) {
    openForWriting();
    m_pipe.fill();
    for (const unsigned timeout : {0U, 1U, 2U}) {
        StdoutCapture capture;
        const InstantSleep instant;
        EXPECT_EQ(write("data", timeout), 0);
        EXPECT_EQ(InstantSleep::taken(), Sleeps(std::size_t{2} * timeout, 500));
        EXPECT_EQ(capture.text(), sendError(4, -1, EAGAIN));
    }
}

TEST_F(Channel, ThirdTryStillSucceeds) {
    openForWriting();
    m_pipe.fill();
    StdoutCapture capture;
    const InstantSleep instant([this](std::size_t sleeps) {
        if (sleeps == 2) {
            m_pipe.take();
        }
    });
    EXPECT_EQ(write("data", 1), 4);
    EXPECT_EQ(InstantSleep::taken(), Sleeps(2, 500));
    EXPECT_EQ(m_pipe.take(), "data");
    EXPECT_EQ(capture.text(), "");
}

TEST_F(Channel, RetriesAreCountedOverTheWholeTransfer) {
    openForWriting();
    m_pipe.fill();
    const auto capacity = static_cast<int>(m_pipe.capacity());
    StdoutCapture capture;
    const InstantSleep instant([this](std::size_t sleeps) {
        if (sleeps == 1) {
            m_pipe.take();
        }
    });
    EXPECT_EQ(write(std::string(m_pipe.capacity() + 10, 'd'), 1), capacity);
    EXPECT_EQ(InstantSleep::taken(), Sleeps(2, 500));
    EXPECT_EQ(capture.text(), sendError(capacity + 10, -1, EAGAIN));
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

TEST_F(Channel, ReaderThatWentAwayEndsAProcessThatLeavesTheSignalAsItIs) {
    openForWriting();
    m_pipe.hangUp();
    const auto writeWithTheSignal = [this] {
        (void)std::signal(SIGPIPE, SIG_DFL);
        write("data", 0);
    };
    EXPECT_EXIT(writeWithTheSignal(), testing::KilledBySignal(SIGPIPE), "");
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
    const InstantSleep instant([this](std::size_t sleeps) {
        if (sleeps == 2) {
            m_pipe.put("cd");
        }
    });
    EXPECT_EQ(read(4, 1), "abcd");
    EXPECT_EQ(InstantSleep::taken(), Sleeps(2, 500));
}

TEST_F(Channel, EmptyPipeIsReadTwiceMoreForEachSecond) {
    openForReading("");
    for (const unsigned timeout : {0U, 1U, 2U}) {
        const InstantSleep instant;
        EXPECT_EQ(read(4, timeout), "");
        EXPECT_EQ(InstantSleep::taken(), Sleeps(std::size_t{2} * timeout, 500));
    }
}

}  // namespace
