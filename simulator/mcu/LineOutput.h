#pragma once

#include <deque>
#include <functional>
#include <map>

#include "simulator/mcu/Endpoint.h"
#include "simulator/mcu/Outgoing.h"
#include "simulator/mcu/Pacer.h"

// What the MCUs send, in the order and at the speed of the line.
class LineOutput {
  public:
    LineOutput(Endpoint& endpoint, Time byteTime) : m_endpoint(endpoint), m_pacer(byteTime) {}

    void add(Outgoing outgoing);
    // Sends what the line has time for. Each thing is handed to `onWhole` just before its last byte
    // goes, so that it is on record by the time the peer has it.
    void send(Time now, const std::function<void(const Outgoing&)>& onWhole);
    // When send() has something to do again.
    Time nextDeadline() const;

  private:
    bool sendFirst(Time now, const std::function<void(const Outgoing&)>& onWhole);

    Endpoint& m_endpoint;
    Pacer m_pacer;
    std::multimap<Time, Outgoing> m_delayed;
    std::deque<Outgoing> m_ready;
    std::size_t m_sent = 0;  // bytes of the first ready thing that are sent
};
