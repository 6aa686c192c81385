#pragma once

#include <filesystem>
#include <vector>

#include "simulator/mcu/FileDescriptor.h"

// The serial device of a simulated line: a pseudo-terminal behind a link, which can be taken away
// with a hang-up and be put back.
class TerminalPair {
  public:
    // link: where the device is to be found; directory: the one in which the program that follows
    // the link sees the host's pseudo-terminals.
    TerminalPair(std::filesystem::path link, std::filesystem::path directory);

    bool isPlugged() const { return m_master.isOpen(); }
    // The line's other end; -1 while the device is away.
    int descriptor() const { return m_master.get(); }

    void plug();
    void unplug();

  private:
    std::filesystem::path m_link;
    std::filesystem::path m_directory;
    FileDescriptor m_master;
    // Kept open: the line does not hang up while the program has it closed, and the number of a
    // pseudo-terminal that is gone is not given to another line under a program that looks for it.
    std::vector<FileDescriptor> m_slaves;
};
