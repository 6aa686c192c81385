#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "simulator/mcu/Endpoint.h"
#include "simulator/mcu/FileDescriptor.h"

// The serial device of a simulated line: a pseudo-terminal behind a link, which can be taken away
// with a hang-up and be put back.
class TerminalPair {
  public:
    // link: where the device is to be found; directory: the one in which the program that follows
    // the link sees the host's pseudo-terminals.
    TerminalPair(std::filesystem::path link, std::filesystem::path directory);

    bool isPlugged() const { return m_terminal != nullptr; }
    // The line's other end; -1 while the device is away.
    int descriptor() const { return isPlugged() ? m_terminal->descriptor() : -1; }

    void plug();
    void unplug();

  private:
    std::filesystem::path m_link;
    std::filesystem::path m_directory;
    std::unique_ptr<Endpoint> m_terminal;
    // Kept open: the number of a pseudo-terminal that is gone is not given to another line while a
    // program still looks for it.
    std::vector<FileDescriptor> m_slaves;
};
