#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "technic/SystemControl.h"
#include "tests/technic/ControlDaemon.h"
#include "tests/technic/SocketCalls.h"

namespace {

TEST(LocalCommand, GoesOutAsItsLengthAndItsBytes) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    ASSERT_TRUE(daemon.isReady());
    EXPECT_EQ(sendLocalCommand("mv a b", 5), 0);
    EXPECT_EQ(daemon.received(), ControlDaemon::request("mv a b"));
}

TEST(LocalCommand, MayHaveZeroBytesInside) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    const std::string command("\0mv\0a\n%s\0", 9);
    EXPECT_EQ(sendLocalCommand(command, 5), 0);
    EXPECT_EQ(daemon.received(), ControlDaemon::request(command));
}

TEST(LocalCommand, GoesToTheDaemonsAddress) {
    const ControlDaemon daemon(ControlDaemon::reply(0));
    SocketCalls calls;
    sockaddr_un asked{};
    socklen_t askedLength = 0;
    calls.beforeConnect = [&](int, const sockaddr& address, socklen_t length) {
        std::memcpy(&asked, &address, sizeof(asked));
        askedLength = length;
    };
    EXPECT_EQ(sendLocalCommand("command", 5), 0);
    EXPECT_EQ(asked.sun_family, AF_UNIX);
    EXPECT_STREQ(asked.sun_path, "/var/run/systemd.sock");
    EXPECT_EQ(askedLength, 110U);
}

TEST(LocalCommand, IsSentInAsManyPartsAsTheSystemTakes) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    SocketCalls calls;
    int count = 0;
    calls.send = [&](int socket, const void* data, std::size_t, int flags) -> ssize_t {
        errno = EINTR;
        return ++count % 2 == 0 ? -1 : SocketCalls::sendToSystem(socket, data, 1, flags);
    };
    EXPECT_EQ(sendLocalCommand("mv a b", 5), 0);
    EXPECT_EQ(daemon.received(), ControlDaemon::request("mv a b"));
}

struct CutCase {
    std::size_t length;
    std::size_t sent;
};

void PrintTo(const CutCase& row, std::ostream* out) {
    *out << row.length << " bytes";
}

class LongLocalCommand : public testing::TestWithParam<CutCase> {};

TEST_P(LongLocalCommand, IsCutAt999Bytes) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    std::string command(GetParam().length, 'c');
    command.back() = 'e';
    EXPECT_EQ(sendLocalCommand(command, 5), 0);
    EXPECT_EQ(daemon.received(), ControlDaemon::request(command.substr(0, GetParam().sent)));
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongLocalCommand,
                         testing::Values(CutCase{1, 1}, CutCase{999, 999}, CutCase{1000, 999},
                                         CutCase{1200, 999}));

class LocalCommandReply : public testing::TestWithParam<std::int32_t> {};

TEST_P(LocalCommandReply, IsReturned) {
    const ControlDaemon daemon(ControlDaemon::reply(GetParam()));
    EXPECT_EQ(sendLocalCommand("command", 5), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Codes, LocalCommandReply,
                         testing::Values(0, 1, -1, -2, -9, 0x12345678, INT32_MIN));

TEST(LocalCommand, ShortReplyIsMinusOne) {
    const ControlDaemon daemon({std::string(3, '\0')});
    EXPECT_EQ(sendLocalCommand("command", 5), -1);
}

TEST(LocalCommand, ReplyMayComeInParts) {
    const ControlDaemon daemon({"\1\2", false, std::chrono::milliseconds(0), "\3\4"});
    EXPECT_EQ(sendLocalCommand("command", 5), 0x04030201);
}

TEST(LocalCommand, WhatFollowsTheReplyIsNotRead) {
    const ControlDaemon daemon({ControlDaemon::reply(6).bytes + "more"});
    EXPECT_EQ(sendLocalCommand("command", 5), 6);
}

TEST(LocalCommand, HangUpWithoutAReplyIsMinusOne) {
    const ControlDaemon daemon({""});
    EXPECT_EQ(sendLocalCommand("command", 5), -1);
}

// Every thread's command is answered with its own length, and none before all have come.
TEST(LocalCommand, ThreadsHaveConnectionsOfTheirOwn) {
    constexpr std::size_t kThreads = 8;
    const DaemonSocket daemon(kThreads);
    std::array<std::int32_t, kThreads> results{};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back(
            [i, &results] { results[i] = sendLocalCommand(std::string(i + 1, 'c'), 5); });
    }
    std::vector<std::pair<int, std::int32_t>> lengths;
    for (std::size_t i = 0; i < kThreads; ++i) {
        const int peer = daemon.takeConnection();
        std::int32_t length = 0;
        EXPECT_EQ(recv(peer, &length, sizeof(length), MSG_WAITALL), 4);
        std::array<char, kThreads> command{};
        EXPECT_EQ(recv(peer, command.data(), static_cast<std::size_t>(length), MSG_WAITALL),
                  length);
        lengths.emplace_back(peer, length);
    }
    for (const auto& [peer, length] : lengths) {
        EXPECT_EQ(send(peer, &length, sizeof(length), MSG_NOSIGNAL), 4);
        close(peer);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(results, (std::array<std::int32_t, kThreads>{1, 2, 3, 4, 5, 6, 7, 8}));
}

}  // namespace
