#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "technic/DevicePaths.h"

// The socket at which the control daemon listens. Gone with the object.
class DaemonSocket {
  public:
    explicit DaemonSocket(int backlog) {
        unlink(device_paths::kControlDaemonSocket);
        m_listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, device_paths::kControlDaemonSocket);
        m_isReady =
            bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
            listen(m_listener, backlog) == 0;
    }
    ~DaemonSocket() {
        close(m_listener);
        unlink(device_paths::kControlDaemonSocket);
    }
    DaemonSocket(const DaemonSocket&) = delete;
    DaemonSocket& operator=(const DaemonSocket&) = delete;

    bool isReady() const { return m_isReady; }
    // The next connection; -1 after stop().
    int takeConnection() const { return accept(m_listener, nullptr, nullptr); }
    // Nobody connects any more.
    void stop() const { shutdown(m_listener, SHUT_RDWR); }

  private:
    int m_listener = -1;
    bool m_isReady = false;
};

// A control daemon that takes one connection: it reads the request, waits, sends its reply and
// hangs up. Without a reply it keeps the connection until the other side hangs up.
class ControlDaemon {
  public:
    struct Answer {
        std::string bytes;
        bool isSilent = false;
        std::chrono::milliseconds delay{0};
        // Sent a while after the other bytes.
        std::string laterBytes{};
    };

    explicit ControlDaemon(Answer answer)
        : m_answer(std::move(answer)), m_thread([this] { serve(); }) {}
    ~ControlDaemon() { finish(); }
    ControlDaemon(const ControlDaemon&) = delete;
    ControlDaemon& operator=(const ControlDaemon&) = delete;

    static Answer reply(std::int32_t code) {
        return {std::string(reinterpret_cast<const char*>(&code), sizeof(code))};
    }
    // A command as it goes over the line.
    static std::string request(const std::string& command) {
        const auto length = static_cast<std::uint32_t>(command.size());
        return std::string(reinterpret_cast<const char*>(&length), sizeof(length)) + command;
    }
    static Answer silence() { return {"", true}; }

    // What came over the line, length prefix included. Waits for the end of the connection.
    std::string received() {
        finish();
        return m_received;
    }
    bool isReady() const { return m_socket.isReady(); }

  private:
    void finish() {
        if (m_thread.joinable()) {
            m_socket.stop();
            m_thread.join();
        }
    }

    void serve() {
        const int peer = m_socket.takeConnection();
        if (peer < 0) {
            return;
        }
        std::uint32_t length = 0;
        take(peer, sizeof(length));
        std::memcpy(&length, m_received.data(), std::min(sizeof(length), m_received.size()));
        take(peer, length);
        std::this_thread::sleep_for(m_answer.delay);
        (void)send(peer, m_answer.bytes.data(), m_answer.bytes.size(), MSG_NOSIGNAL);
        if (!m_answer.laterBytes.empty()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            (void)send(peer, m_answer.laterBytes.data(), m_answer.laterBytes.size(), MSG_NOSIGNAL);
        }
        if (m_answer.isSilent) {
            take(peer, 1);
        }
        close(peer);
    }

    void take(int peer, std::size_t length) {
        std::array<char, 1024> part{};
        while (length > 0) {
            const ssize_t n = recv(peer, part.data(), std::min(length, part.size()), 0);
            if (n <= 0) {
                return;
            }
            m_received.append(part.data(), static_cast<std::size_t>(n));
            length -= static_cast<std::size_t>(n);
        }
    }

    const Answer m_answer;
    const DaemonSocket m_socket{1};
    std::string m_received;
    std::thread m_thread;
};
