#pragma once

#include <chrono>
#include <string>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/FileDescriptor.h"

// The other end of the simulated line: sends and receives plain bytes.
class Peer {
  public:
    // A peer on a terminal, on a Unix socket, or on a local TCP port.
    static Peer onTerminal(const std::string& path);
    static Peer onUnixSocket(const std::string& path);
    static Peer onTcpPort(int port);

    void send(const Bytes& bytes);
    // Hexadecimal digits; blanks between bytes are allowed.
    void send(const std::string& hex);
    // Receives this many bytes, or fewer when the line stays silent; as hexadecimal digits.
    std::string receive(std::size_t count,
                        std::chrono::milliseconds silence = std::chrono::milliseconds(5000));
    // Whether nothing comes for this long.
    bool hearsNothingFor(std::chrono::milliseconds span);
    // send() and receive().
    std::string ask(const std::string& hex, std::size_t count);

    int descriptor() const { return m_descriptor.get(); }
    void close() { m_descriptor.reset(); }

  private:
    explicit Peer(FileDescriptor descriptor) : m_descriptor(std::move(descriptor)) {}

    FileDescriptor m_descriptor;
};

// A block as a sender builds it: number, complement, 1024 bytes filled with zeros, CRC. With a size
// of 128 the short kind.
Bytes xmodemBlock(int number, const Bytes& data, std::size_t size = 1024);
// Content of this size, other in each byte and at each seed, with a version at 0x10 and hardware
// information of four bytes at 0x20, both in the order of the file.
Bytes imageOf(std::size_t size, const Bytes& version, const Bytes& hardware);
// The part of an image that goes into a block of 1024 bytes, counted from 1.
Bytes partOf(const Bytes& image, int number);
