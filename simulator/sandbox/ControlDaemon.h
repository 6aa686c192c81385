#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "simulator/sandbox/DaemonRequest.h"
#include "simulator/sandbox/Descriptor.h"
#include "simulator/sandbox/RecordFile.h"
#include "simulator/sandbox/StopSignals.h"

// Stands in for the device's control daemon: takes commands over a Unix socket, records them and
// answers, but runs nothing. One request a connection. A client that sends nothing, too little or
// nonsense holds up nobody and is recorded with an "error".
class ControlDaemon {
  public:
    // Listens from now on; the path may be of any length, and what is left there of an earlier
    // daemon is replaced. Every request is answered with `reply`, or, without one, never: the
    // connection stays open until the client closes it. Throws std::runtime_error when the socket
    // cannot be made.
    ControlDaemon(const std::string& socketPath, std::optional<std::int32_t> reply,
                  RecordFile& records);
    // Removes the socket.
    ~ControlDaemon();
    ControlDaemon(const ControlDaemon&) = delete;
    ControlDaemon& operator=(const ControlDaemon&) = delete;

    // Serves until a stop is requested, and then to the end what has arrived by that time.
    void run(const StopSignals& stop);

  private:
    struct Client {
        Descriptor socket;
        DaemonRequest request;
        bool isDone = false;      // recorded; nothing more is taken
        bool isFinished = false;  // to be forgotten
    };

    // Serves what there is to serve; with `mayWait` waits for it. False if there was nothing.
    bool serve(const StopSignals& stop, bool mayWait);
    void acceptClient();
    void receive(Client& client);
    void answer(Client& client);
    void record(const DaemonRequest& request, const std::string& error);

    Descriptor m_directory;
    std::string m_name;
    Descriptor m_listener;
    std::optional<std::int32_t> m_reply;
    RecordFile& m_records;
    std::list<Client> m_clients;
};
