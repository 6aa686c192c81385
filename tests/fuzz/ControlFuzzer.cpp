// The channel to the control daemon. Input: the time-out in a byte; what the daemon does, in a byte
// (below); the lengths of the pieces in which its reply comes, as a text; the reply as a text; a
// flag for moving a file of the command's name to the reply's; the rest is the command.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "technic/DevicePaths.h"
#include "technic/DiskManager.h"
#include "technic/SystemControl.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/SystemCalls.h"

namespace {

constexpr unsigned kSilent = 1;       // answers nothing in time
constexpr unsigned kInterrupted = 2;  // a signal arrives while it is waited for
constexpr unsigned kFailing = 3;      // waiting fails
constexpr unsigned kBehaviours = 8;   // the others answer

// The daemon, in this process: it answers when it is waited for.
class Daemon : public SystemCalls {
  public:
    Daemon(unsigned behaviour, std::string reply, std::string pieces)
        : m_behaviour(behaviour), m_reply(std::move(reply)), m_pieces(std::move(pieces)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, device_paths::kControlDaemonSocket,
                     sizeof address.sun_path - 1);
        (void)::unlink(address.sun_path);
        const int bound =
            ::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        require(bound == 0 && ::listen(m_listener, 1) == 0, "the daemon listens");
    }
    ~Daemon() override {
        hangUp();
        (void)SystemCalls::close(m_listener);
    }

    int select(int /*count*/, fd_set* /*reads*/, timeval* /*wait*/) override {
        if (m_behaviour == kInterrupted) {
            m_behaviour = kBehaviours;
            return failed(EINTR);
        }
        if (m_behaviour == kFailing) {
            return failed(EBADF);
        }
        if (m_behaviour == kSilent) {
            return 0;
        }
        takeRequest();
        return 1;
    }

    // One more piece comes before each read, and at their end the daemon hangs up.
    ssize_t recv(int socket, void* buffer, std::size_t size, int flags) override {
        const bool isCut = m_piece < m_pieces.size();
        const std::size_t length =
            isCut ? static_cast<unsigned char>(m_pieces[m_piece++]) % 4U + 1U : m_reply.size();
        const std::string piece = m_reply.substr(0, length);
        m_reply.erase(0, length);
        if (!piece.empty()) {
            (void)::send(m_connection, piece.data(), piece.size(), MSG_NOSIGNAL);
        }
        if (m_reply.empty()) {
            hangUp();
        }
        return SystemCalls::recv(socket, buffer, size, flags);
    }

    // What was sent, length and command; empty when nobody called.
    std::string request() {
        takeRequest();
        return m_request;
    }

  private:
    static int failed(int error) {
        errno = error;
        return -1;
    }

    void takeRequest() {
        if (m_connection == -1 && !m_isDone) {
            m_connection = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            std::array<char, 2048> bytes{};
            const ssize_t count = SystemCalls::recv(m_connection, bytes.data(), bytes.size(), 0);
            m_request.assign(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    }

    void hangUp() {
        m_isDone = true;
        if (m_connection != -1) {
            (void)SystemCalls::close(m_connection);
            m_connection = -1;
        }
    }

    unsigned m_behaviour;
    std::string m_reply;
    std::string m_pieces;
    std::size_t m_piece = 0;
    std::string m_request;
    bool m_isDone = false;
    int m_listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int m_connection = -1;
};

void requireRequest(const std::string& request, const std::string& command) {
    const auto length = static_cast<std::uint32_t>(std::min(command.size(), kLongestLocalCommand));
    std::string expected(sizeof length, '\0');
    std::memcpy(expected.data(), &length, sizeof length);
    require(request == expected + command.substr(0, length),
            "the daemon gets the length and as much of the command");
}

int expectedResult(unsigned behaviour, int timeout, const std::string& reply) {
    if (timeout <= 0 || behaviour == kSilent) {
        return -2;
    }
    if (behaviour == kFailing) {
        return -9;
    }
    std::int32_t code = -1;
    if (reply.size() >= sizeof code) {
        std::memcpy(&code, reply.data(), sizeof code);
    }
    return code;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    const int timeout = input.byte() % 8 - 2;
    const unsigned behaviour = input.byte() % kBehaviours;
    const std::string pieces = input.text();
    const std::string reply = input.text();
    const bool isMove = input.flag();
    const std::string command = input.rest();
    Daemon daemon(behaviour, reply, pieces);
    if (isMove) {
        require(DiskManager::move(command, reply) == 1, "whether something was moved is not told");
        const std::string moving = "mv " + upToZero(command) + " " + upToZero(reply);
        requireRequest(daemon.request(), moving);
        return 0;
    }
    const int result = sendLocalCommand(command, timeout);
    if (command.empty()) {
        require(result == -9, "an empty command is not sent");
        return 0;
    }
    require(result == expectedResult(behaviour, timeout, reply), "the result is the daemon's");
    requireRequest(daemon.request(), command);
    return 0;
}
