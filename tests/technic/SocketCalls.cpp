#include "tests/technic/SocketCalls.h"

namespace {

thread_local SocketCalls* calls = nullptr;

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

int __real_connect(int socket, const sockaddr* address, socklen_t length);
ssize_t __real_send(int socket, const void* data, std::size_t length, int flags);
int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* errors, timeval* wait);

int __wrap_connect(int socket, const sockaddr* address, socklen_t length) {
    if (calls != nullptr && calls->beforeConnect) {
        calls->beforeConnect(socket, *address, length);
    }
    return __real_connect(socket, address, length);
}

ssize_t __wrap_send(int socket, const void* data, std::size_t length, int flags) {
    if (calls != nullptr && calls->send) {
        return calls->send(socket, data, length, flags);
    }
    return __real_send(socket, data, length, flags);
}

int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* errors, timeval* wait) {
    if (calls != nullptr && calls->select && wait != nullptr) {
        return calls->select(*wait);
    }
    return __real_select(count, reads, writes, errors, wait);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

SocketCalls::SocketCalls() {
    calls = this;
}

SocketCalls::~SocketCalls() {
    calls = nullptr;
}

ssize_t SocketCalls::sendToSystem(int socket, const void* data, std::size_t length, int flags) {
    return __real_send(socket, data, length, flags);
}
