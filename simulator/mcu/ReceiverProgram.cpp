#include "simulator/mcu/ReceiverProgram.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

namespace {

constexpr int kSignalStatusBase = 128;

[[noreturn]] void failOn(const std::string& what, int error) {
    throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(error)));
}

// Starts the program on this descriptor, with the signal mask and handling of a fresh program and
// no other descriptor but standard error.
pid_t spawn(std::vector<std::string>& command, int line) {
    std::vector<char*> arguments;
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    sigset_t none;
    sigset_t pipe;
    (void)sigemptyset(&none);  // valid arguments, here and below: only the start itself can fail
    (void)sigemptyset(&pipe);
    (void)sigaddset(&pipe, SIGPIPE);
    posix_spawnattr_t attributes;
    (void)posix_spawnattr_init(&attributes);
    (void)posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    (void)posix_spawnattr_setsigmask(&attributes, &none);
    (void)posix_spawnattr_setsigdefault(&attributes, &pipe);
    posix_spawn_file_actions_t actions;
    (void)posix_spawn_file_actions_init(&actions);
    (void)posix_spawn_file_actions_adddup2(&actions, line, STDIN_FILENO);
    (void)posix_spawn_file_actions_adddup2(&actions, line, STDOUT_FILENO);
    (void)posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t pid = -1;
    const int error =
        posix_spawn(&pid, arguments[0], &actions, &attributes, arguments.data(), environ);
    (void)posix_spawn_file_actions_destroy(&actions);
    (void)posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        failOn(command[0], error);
    }
    return pid;
}

}  // namespace

ReceiverProgram::ReceiverProgram(std::vector<std::string> command) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        failOn("socketpair", errno);
    }
    m_line = FileDescriptor(ends[0]);
    const FileDescriptor programsEnd(ends[1]);
    (void)fcntl(m_line.get(), F_SETFL, O_NONBLOCK);  // cannot fail on a socket of our own
    m_pid = spawn(command, programsEnd.get());
    m_end = FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0)));
    if (!m_end.isOpen()) {
        const int error = errno;
        (void)kill(m_pid, SIGKILL);
        (void)waitpid(m_pid, nullptr, 0);
        failOn("pidfd_open", error);
    }
}

ReceiverProgram::~ReceiverProgram() {
    if (!status()) {
        (void)kill(m_pid, SIGKILL);  // it has not been waited for, so the id is still its own
        (void)waitpid(m_pid, nullptr, 0);
    }
}

void ReceiverProgram::write(const Bytes& bytes) {
    if (m_line.isOpen()) {
        (void)send(m_line.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
}

Bytes ReceiverProgram::read() {
    Bytes said;
    std::array<std::uint8_t, 256> part{};
    while (m_line.isOpen()) {
        const ssize_t count = ::read(m_line.get(), part.data(), part.size());
        if (count > 0) {
            said.insert(said.end(), part.begin(), part.begin() + count);
        } else if (count < 0 && errno == EAGAIN) {
            break;
        } else if (count == 0 || errno != EINTR) {
            m_line.reset();
        }
    }
    return said;
}

std::optional<int> ReceiverProgram::status() {
    int ended = 0;
    if (!m_status && waitpid(m_pid, &ended, WNOHANG) == m_pid) {
        m_status = WIFEXITED(ended) ? WEXITSTATUS(ended) : kSignalStatusBase + WTERMSIG(ended);
    }
    return m_status;
}
