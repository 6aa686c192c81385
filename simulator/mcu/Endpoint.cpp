#include "simulator/mcu/Endpoint.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

Endpoint::~Endpoint() {
    if (!m_removeAtEnd.empty()) {
        (void)unlink(m_removeAtEnd.c_str());  // if it is gone already, so much the better
    }
}

std::unique_ptr<Endpoint> Endpoint::connected(int descriptor) {
    std::unique_ptr<Endpoint> endpoint(new Endpoint);
    endpoint->m_io = FileDescriptor(descriptor);
    endpoint->m_address = "the line";
    return endpoint;
}

void Endpoint::acceptPeer() {
    m_io =
        FileDescriptor(accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

long Endpoint::read(std::uint8_t* bytes, std::size_t length) {
    const ssize_t count = ::read(m_io.get(), bytes, length);
    if (count > 0) {
        return static_cast<long>(count);
    }
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return 0;
    }
    if (!m_listener.isOpen()) {
        throw std::runtime_error(fmt::format("{}: the line is gone: {}", m_address,
                                             count == 0 ? "end of file" : std::strerror(errno)));
    }
    m_io.reset();
    return -1;
}

void Endpoint::write(const std::uint8_t* bytes, std::size_t length) {
    if (m_io.isOpen()) {
        (void)!::write(m_io.get(), bytes, length);  // the line waits for nobody
    }
}
