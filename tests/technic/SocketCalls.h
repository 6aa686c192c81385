#pragma once

#include <sys/select.h>
#include <sys/socket.h>

#include <functional>

// Stands between this program's own code and the calls that a local command takes while it lives:
// for the thread that made it. A call whose function is not set goes to the system. Not to be
// nested.
struct SocketCalls {
    SocketCalls();
    ~SocketCalls();
    SocketCalls(const SocketCalls&) = delete;
    SocketCalls& operator=(const SocketCalls&) = delete;

    // Take the place of the call.
    std::function<ssize_t(int socket, const void* data, std::size_t length, int flags)> send;
    std::function<int(timeval& wait)> select;
    // Runs before the call.
    std::function<void(int socket, const sockaddr& address, socklen_t length)> beforeConnect;

    // The call that `send` takes the place of.
    static ssize_t sendToSystem(int socket, const void* data, std::size_t length, int flags);
};
