// Listening sockets as the line's endpoint.
#include <arpa/inet.h>
#include <fmt/format.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "simulator/mcu/Endpoint.h"

namespace {

constexpr int kBacklog = 1;

[[noreturn]] void failOn(const std::string& what) {
    throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

FileDescriptor newSocket(int family, const std::string& name) {
    FileDescriptor made(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!made.isOpen()) {
        failOn(name);
    }
    return made;
}

sockaddr_in resolve(const std::string& host, const std::string& port, const std::string& address) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
    if (result != 0) {
        throw std::runtime_error(fmt::format("{}: {}", address, gai_strerror(result)));
    }
    sockaddr_in resolved{};
    std::memcpy(&resolved, found->ai_addr, sizeof resolved);
    freeaddrinfo(found);
    return resolved;
}

}  // namespace

std::unique_ptr<Endpoint> Endpoint::unixSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw std::runtime_error(fmt::format("{}: a socket's path has from 1 to {} characters",
                                             path, sizeof address.sun_path - 1));
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) {
        (void)unlink(path.c_str());  // bind() reports it if this failed
    }
    std::unique_ptr<Endpoint> endpoint(new Endpoint);
    endpoint->m_listener = newSocket(AF_UNIX, path);
    if (bind(endpoint->m_listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) !=
        0) {
        failOn(path);
    }
    endpoint->m_removeAtEnd = path;
    if (listen(endpoint->m_listener.get(), kBacklog) != 0) {
        failOn(path);
    }
    endpoint->m_address = path;
    return endpoint;
}

std::unique_ptr<Endpoint> Endpoint::tcpSocket(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    const std::string host = colon == std::string::npos ? "127.0.0.1" : address.substr(0, colon);
    const std::string port = colon == std::string::npos ? address : address.substr(colon + 1);
    sockaddr_in wanted = resolve(host, port, address);

    std::unique_ptr<Endpoint> endpoint(new Endpoint);
    endpoint->m_listener = newSocket(AF_INET, address);
    const int listener = endpoint->m_listener.get();
    const int reuse = 1;
    socklen_t length = sizeof wanted;
    if (setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) != 0 ||
        bind(listener, reinterpret_cast<sockaddr*>(&wanted), length) != 0 ||
        listen(listener, kBacklog) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&wanted), &length) != 0) {
        failOn(address);
    }
    endpoint->m_address = fmt::format("{}:{}", host, ntohs(wanted.sin_port));
    return endpoint;
}
