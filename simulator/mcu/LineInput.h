#pragma once

#include <array>
#include <functional>

#include "simulator/mcu/Endpoint.h"
#include "simulator/mcu/LineDecoder.h"
#include "simulator/mcu/Pacer.h"

// Reads the endpoint no faster than the line would have brought the bytes.
class LineInput {
  public:
    LineInput(Endpoint& endpoint, Time byteTime) : m_endpoint(endpoint), m_pacer(byteTime) {}

    // Bytes are there to be read.
    void noteReadable(Time now);
    // Whether bytes are known to wait for the line's speed, so that the endpoint need not be asked.
    bool isWaiting() const { return m_waiting; }
    // When read() can go on with waiting bytes.
    Time nextDeadline() const { return m_waiting ? m_pacer.nextByte() : kNever; }
    // Gives the decoder, and before it `onBytes`, what the line has brought so far.
    void read(LineDecoder& decoder, Time now,
              const std::function<void(const std::uint8_t*, std::size_t)>& onBytes);

  private:
    Endpoint& m_endpoint;
    Pacer m_pacer;
    bool m_waiting = false;
    std::array<std::uint8_t, 4096> m_chunk{};
};
