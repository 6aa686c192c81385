#include "tests/simulator/Peer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kBlockData = 1024;

template <typename Address>
FileDescriptor connectTo(int family, const Address& address) {
    FileDescriptor made(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (connect(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error(std::string("connect: ") + std::strerror(errno));
    }
    return made;
}

bool readable(int descriptor, milliseconds limit) {
    pollfd polled{descriptor, POLLIN, 0};
    return poll(&polled, 1, static_cast<int>(limit.count())) == 1;
}

// CRC-16/XMODEM bit by bit over the message followed by sixteen zero bits: long division, as the
// definition has it.
unsigned remainderOf(Bytes message) {
    message.insert(message.end(), {0, 0});
    unsigned remainder = 0;
    for (const std::uint8_t byte : message) {
        for (unsigned bit = 8; bit-- > 0;) {
            remainder = remainder << 1U | (byte >> bit & 1U);
            remainder = remainder > 0xFFFFU ? remainder ^ 0x11021U : remainder;
        }
    }
    return remainder;
}

}  // namespace

Peer Peer::onTerminal(const std::string& path) {
    FileDescriptor terminal(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!terminal.isOpen()) {
        throw std::runtime_error(path + ": " + std::strerror(errno));
    }
    return Peer(std::move(terminal));
}

Peer Peer::onUnixSocket(const std::string& path) {
    // A path of any length: the directory is reached through its descriptor.
    const std::size_t slash = path.rfind('/');
    const FileDescriptor directory(
        open(path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string name =
        "/proc/self/fd/" + std::to_string(directory.get()) + path.substr(slash);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.c_str(), std::min(name.size(), sizeof address.sun_path - 1));
    return Peer(connectTo(AF_UNIX, address));
}

Peer Peer::onTcpPort(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return Peer(connectTo(AF_INET, address));
}

void Peer::send(const Bytes& bytes) {
    if (write(m_descriptor.get(), bytes.data(), bytes.size()) !=
        static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("short write");
    }
}

void Peer::send(const std::string& hex) {
    send(fromHex(hex).value());
}

std::string Peer::receive(std::size_t count, milliseconds silence) {
    Bytes received;
    while (received.size() < count && readable(m_descriptor.get(), silence)) {
        Bytes part(count - received.size());
        const ssize_t length = read(m_descriptor.get(), part.data(), part.size());
        if (length <= 0) {
            break;
        }
        received.insert(received.end(), part.begin(), part.begin() + length);
    }
    return toHex(received);
}

bool Peer::hearsNothingFor(milliseconds span) {
    return !readable(m_descriptor.get(), span);
}

std::string Peer::ask(const std::string& hex, std::size_t count) {
    send(hex);
    return receive(count);
}

Bytes xmodemBlock(int number, const Bytes& data, std::size_t size) {
    Bytes content = data;
    content.resize(size, 0);
    const unsigned crc = remainderOf(content);
    const auto low = static_cast<std::uint8_t>(number);
    Bytes block{static_cast<std::uint8_t>(size == kBlockData ? 0x02 : 0x01), low,
                static_cast<std::uint8_t>(0xFF - low)};
    block.insert(block.end(), content.begin(), content.end());
    block.push_back(static_cast<std::uint8_t>(crc >> 8U));
    block.push_back(static_cast<std::uint8_t>(crc & 0xFFU));
    return block;
}

Bytes imageOf(std::size_t size, const Bytes& version, const Bytes& hardware) {
    Bytes image(size);
    std::uint32_t value = 12345;
    for (std::uint8_t& byte : image) {
        value = value * 1103515245U + 12345U;
        byte = static_cast<std::uint8_t>(value >> 16U);
    }
    std::copy(version.begin(), version.end(), image.begin() + 0x10);
    std::copy(hardware.begin(), hardware.end(), image.begin() + 0x20);
    return image;
}

Bytes partOf(const Bytes& image, int number) {
    const std::size_t begin = static_cast<std::size_t>(number - 1) * kBlockData;
    const std::size_t end = std::min(image.size(), begin + kBlockData);
    return {image.begin() + static_cast<std::ptrdiff_t>(begin),
            image.begin() + static_cast<std::ptrdiff_t>(end)};
}
