#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/FileDescriptor.h"

// A program that runs with one end of a line as its standard input and output. The line loses
// nothing, and it is no terminal. The program is ended by force when the object goes.
class ReceiverProgram {
  public:
    // Starts the program `command`, a path and its arguments. Its standard error is this program's.
    // Throws std::runtime_error when it cannot be started.
    explicit ReceiverProgram(std::vector<std::string> command);
    ~ReceiverProgram();
    ReceiverProgram(const ReceiverProgram&) = delete;
    ReceiverProgram& operator=(const ReceiverProgram&) = delete;

    // Readable when the program has said something; -1 when it cannot say anything more.
    int line() const { return m_line.get(); }
    // Readable when the program has ended.
    int end() const { return m_end.get(); }

    // What the program does not read in time is lost.
    void write(const Bytes& bytes);
    // What it has said since the last call.
    Bytes read();
    // How it ended: its exit status, or 128 plus the number of the signal; nothing while it runs.
    std::optional<int> status();

  private:
    pid_t m_pid = -1;
    FileDescriptor m_line;
    FileDescriptor m_end;
    std::optional<int> m_status;
};
