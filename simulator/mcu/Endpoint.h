#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "simulator/mcu/FileDescriptor.h"

// The MCUs' end of the line. A peer may come and go; bytes sent while there is none are lost, as on
// a wire with nobody at the other end.
class Endpoint {
  public:
    ~Endpoint();
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;

    // Each throws std::runtime_error when the endpoint cannot be set up.

    // A pseudo-terminal; with a link's path, a symbolic link to its slave stands there.
    static std::unique_ptr<Endpoint> pseudoTerminal(const std::string& link);
    // A listening Unix socket; a socket that is left over at the path is replaced.
    static std::unique_ptr<Endpoint> unixSocket(const std::string& path);
    // A listening TCP socket: "[HOST:]PORT"; without a host the local one, port 0 for any free one.
    static std::unique_ptr<Endpoint> tcpSocket(const std::string& address);
    // A serial device: "BAUD,DATABITS,STOPBITS,PARITY" with none, odd or even for the parity.
    static std::unique_ptr<Endpoint> serialDevice(const std::string& device,
                                                  const std::string& line);
    // A descriptor that is open and does not block; it is closed with the endpoint.
    static std::unique_ptr<Endpoint> connected(int descriptor);

    // What the peer opens or connects to.
    const std::string& address() const { return m_address; }
    // Readable when a peer wants to connect; -1 when none may at present.
    int listener() const { return m_io.isOpen() ? -1 : m_listener.get(); }
    // Readable when bytes came; -1 while there is no peer.
    int descriptor() const { return m_io.get(); }

    // Takes the peer that waits at listener().
    void acceptPeer();
    // Reads what is there, at most `length` bytes: how many, 0 for none, -1 when the peer has gone.
    // Throws std::runtime_error when the line itself is gone and no peer can come.
    long read(std::uint8_t* bytes, std::size_t length);
    // Writes what fits; the rest is lost.
    void write(const std::uint8_t* bytes, std::size_t length);

  private:
    Endpoint() = default;

    std::string m_address;
    std::string m_removeAtEnd;  // path of the link or socket
    FileDescriptor m_listener;
    FileDescriptor m_keepOpen;  // the pseudo-terminal's slave
    FileDescriptor m_io;
};
