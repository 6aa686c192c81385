#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <thread>

// Standard output takes nothing from construction to release(): whoever prints more than is
// buffered waits until then. What is printed meanwhile is thrown away.
class BlockedStdout {
  public:
    BlockedStdout() : m_saved(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        (void)!pipe2(m_ends.data(), O_CLOEXEC | O_NONBLOCK);
        const std::array<char, 4096> bytes{};
        while (write(m_ends[1], bytes.data(), bytes.size()) > 0) {
        }
        (void)fcntl(m_ends[0], F_SETFL, 0);
        (void)fcntl(m_ends[1], F_SETFL, 0);
        dup2(m_ends[1], STDOUT_FILENO);
    }
    ~BlockedStdout() {
        release();
        std::fflush(stdout);
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
        close(m_ends[1]);
        m_reader.join();
        close(m_ends[0]);
    }
    BlockedStdout(const BlockedStdout&) = delete;
    BlockedStdout& operator=(const BlockedStdout&) = delete;

    void release() {
        if (!m_reader.joinable()) {
            m_reader = std::thread([this] {
                std::array<char, 4096> part{};
                while (read(m_ends[0], part.data(), part.size()) > 0) {
                }
            });
        }
    }

  private:
    const int m_saved;
    std::array<int, 2> m_ends{};
    std::thread m_reader;
};
