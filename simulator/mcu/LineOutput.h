#pragma once

#include <deque>
#include <map>
#include <optional>

#include "simulator/mcu/Endpoint.h"
#include "simulator/mcu/Outgoing.h"
#include "simulator/mcu/Pacer.h"

// What the MCUs send, in the order and at the speed of the line.
class LineOutput {
  public:
    LineOutput(Endpoint& endpoint, Time byteTime) : m_endpoint(endpoint), m_pacer(byteTime) {}

    void add(Outgoing outgoing);
    // Sends what the line has time for. Gives one thing that is now on the line whole, or nothing
    // when there is no more for the moment.
    std::optional<Outgoing> send(Time now);
    // When send() has something to do again.
    Time nextDeadline() const;

  private:
    Endpoint& m_endpoint;
    Pacer m_pacer;
    std::multimap<Time, Outgoing> m_delayed;
    std::deque<Outgoing> m_ready;
    std::size_t m_sent = 0;  // bytes of the first ready thing that are sent
};
