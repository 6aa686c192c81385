#pragma once

#include <string>

#include "simulator/sandbox/Descriptor.h"
#include "simulator/sandbox/HeartbeatDecoder.h"
#include "simulator/sandbox/RecordFile.h"
#include "simulator/sandbox/StopSignals.h"

// Stands in for the monitor of the threads: reads the heartbeat pipe and records every message.
// What is no heartbeat is recorded with an "error" and its "bytes"; a writer writes a message in
// one go, so a message that stays incomplete for a second is none.
class HeartbeatReader {
  public:
    // From now on the pipe has a reader. Throws std::runtime_error when the path is no pipe that
    // can be read.
    HeartbeatReader(const std::string& pipePath, RecordFile& records);

    // Reads until a stop is requested, and then what has been written by that time.
    void run(const StopSignals& stop);

  private:
    // Reads what is in the pipe; false if it is empty.
    bool readSome();
    void recordMessages();
    void recordIncomplete();

    Descriptor m_pipe;
    RecordFile& m_records;
    HeartbeatDecoder m_decoder;
};
