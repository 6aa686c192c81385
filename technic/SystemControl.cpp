#include "technic/SystemControl.h"

#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "technic/CancelGuard.h"
#include "technic/DevicePaths.h"
#include "technic/LogFile.h"
#include "technic/WholeTransfer.h"

namespace {

constexpr std::uint32_t kRebootLogBytes = 10240;
constexpr std::uint32_t kRebootLogBackups = 2;
constexpr int kReplyWaitSeconds = 30;
constexpr int kNotSent = -9;
constexpr int kNoReply = -2;

std::atomic<int> systemRunningFlag{1};

void recordInRebootLog(const char* category, const std::string& reason) {
    writeLogLine(device_paths::kRebootLog, category, reason, kRebootLogBytes, kRebootLogBackups);
}

// A socket that is closed when the object goes.
class LocalSocket {
  public:
    LocalSocket() : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    ~LocalSocket() {
        if (m_fd >= 0) {
            const CancelGuard whole;
            ::close(m_fd);
        }
    }
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;

    // A daemon that does not take connections any more is waited for as long as for a reply.
    bool connectTo(const char* path) const {
        if (m_fd < 0) {
            return false;
        }
        timeval longest{};
        longest.tv_sec = kReplyWaitSeconds;
        (void)setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof(longest));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
        return connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }

    bool sendAll(const void* data, std::size_t length) const {
        return transferWhole(length, [&](std::size_t offset, std::size_t rest) {
            return send(m_fd, static_cast<const char*>(data) + offset, rest, MSG_NOSIGNAL);
        });
    }

    // As select: above 0 readable, 0 timed out, below 0 failed. A signal is no failure: the rest of
    // the time, which select leaves in its argument, is waited on.
    int waitReadable(int seconds) const {
        if (m_fd >= FD_SETSIZE) {
            errno = EINVAL;
            return -1;
        }
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(m_fd, &readable);
        timeval wait{};
        wait.tv_sec = seconds;
        int ready = 0;
        do {
            ready = select(m_fd + 1, &readable, nullptr, nullptr, &wait);
        } while (ready < 0 && errno == EINTR);
        return ready;
    }

    // No single wait takes longer than `seconds`.
    bool receiveAll(void* data, std::size_t length, int seconds) const {
        timeval longest{};
        longest.tv_sec = seconds;
        (void)setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof(longest));
        return transferWhole(length, [&](std::size_t offset, std::size_t rest) {
            return recv(m_fd, static_cast<char*>(data) + offset, rest, 0);
        });
    }

  private:
    int m_fd;
};

int receiveReply(const LocalSocket& daemon, int timeoutSeconds) {
    const int ready = daemon.waitReadable(timeoutSeconds);
    if (ready < 0) {
        std::perror("sy_system select");
        return kNotSent;
    }
    if (ready == 0) {
        return kNoReply;
    }
    std::int32_t reply = -1;
    return daemon.receiveAll(&reply, sizeof(reply), timeoutSeconds) ? reply : -1;
}

}  // namespace

void setSystemRunningFlag(int flag, const std::string& reason) {
    std::printf(
        "\n~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~setSystemRunningFlag~~~~~~~~~~~~~~~~~~~~~~~~~~~ "
        "Flag=%d Reason=%s\n",
        flag, reason.c_str());
    if (flag == 0) {
        recordInRebootLog("SystemStop", reason);
    }
    systemRunningFlag.store(flag, std::memory_order_relaxed);
}

int getSystemRunningFlag() {
    return systemRunningFlag.load(std::memory_order_relaxed);
}

void Reboot(const std::string& reason) {
    recordInRebootLog("Reboot", reason);
    (void)sendLocalCommand("/factory_setting/reboot.sh &", kReplyWaitSeconds);
}

void Restart(const std::string& reason) {
    recordInRebootLog("Restart", reason);
    (void)sendLocalCommand("sh /factory_setting/RestartProgram.sh &", kReplyWaitSeconds);
}

int sendLocalCommand(const std::string& command, int timeoutSeconds) {
    if (command.empty()) {
        return kNotSent;
    }
    const auto length = static_cast<std::uint32_t>(std::min(command.size(), kLongestLocalCommand));
    const LocalSocket daemon;
    if (!daemon.connectTo(device_paths::kControlDaemonSocket)) {
        std::perror("connect_to_local_md");
        return kNotSent;
    }
    if (!daemon.sendAll(&length, sizeof(length)) || !daemon.sendAll(command.data(), length)) {
        return kNotSent;
    }
    return timeoutSeconds <= 0 ? kNoReply : receiveReply(daemon, timeoutSeconds);
}
