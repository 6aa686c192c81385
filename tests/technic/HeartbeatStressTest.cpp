#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "technic/GThreadFIFOComm.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/WorkerFixture.h"

namespace {

// Many senders, and a pipe of one page that is read in small bits.
class SlowReader : public WorkerFixture {
  protected:
    static constexpr std::uint32_t kSenders = 4;
    static constexpr std::uint32_t kRecords = 150;
    static constexpr int kPage = 4096;

    SlowReader() {
        const int end = open(m_pipe.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_EQ(fcntl(end, F_SETPIPE_SZ, kPage), kPage);
        close(end);
    }

    // A record that tells its sender and its number, in every field.
    static Heartbeat record(std::uint32_t sender, std::uint32_t number) {
        return {sender, number % 2 + 1, number,
                std::string(number % 100, static_cast<char>('a' + sender))};
    }
    // Sends one sender's records, each by a communicator of its own, as a worker does.
    void sendAll(std::uint32_t sender) {
        for (std::uint32_t number = 0; number < kRecords; ++number) {
            const Heartbeat values = record(sender, number);
            const SafePointer<GThreadInfo> info(new (KD_HERE) GThreadInfo(values.name));
            info->setThreadId(values.threadId);
            info->setState(values.state);
            info->setTimeout(values.timeout);
            GThreadFIFOComm comm(m_pipe.path(), FIFOChannel::kWrite);
            if (comm.open() && comm.send(info) == 0) {
                ++m_sent;
            }
        }
    }
    std::string readBit() const {
        std::string bit(500, '\0');
        const int end = open(m_pipe.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        const ssize_t size = read(end, bit.data(), bit.size());
        close(end);
        return bit.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0);
    }

    std::atomic<std::size_t> m_sent{0};
};

TEST_F(SlowReader, GetsEverySentRecordWholeAndInItsSendersOrder) {
    StdoutCapture capture;
    const InstantSleep shortSleeps([](std::size_t) { sleepFor(0, 300); });
    std::atomic<std::uint32_t> sendersLeft{kSenders};
    std::string wire;
    std::thread reader([&] {
        // Not before senders have to wait: the pipe is full.
        while (InstantSleep::taken().empty()) {
            sleepFor(0, 100);
        }
        while (sendersLeft > 0) {
            wire += readBit();
            sleepFor(0, 100);
        }
    });
    std::vector<std::thread> senders;
    for (std::uint32_t sender = 0; sender < kSenders; ++sender) {
        senders.emplace_back([&, sender] {
            sendAll(sender);
            --sendersLeft;
        });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    reader.join();
    wire += m_pipe.take();
    capture.text();

    const std::vector<Heartbeat> received = heartbeatsIn(wire);
    EXPECT_EQ(received.size(), m_sent);
    std::vector<std::uint32_t> next(kSenders, 0);
    for (const Heartbeat& heartbeat : received) {
        ASSERT_LT(heartbeat.threadId, kSenders);
        EXPECT_GE(heartbeat.timeout, next[heartbeat.threadId]);
        next[heartbeat.threadId] = heartbeat.timeout + 1;
        EXPECT_TRUE(heartbeat == record(heartbeat.threadId, heartbeat.timeout));
    }
}

}  // namespace
