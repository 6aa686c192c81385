#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "simulator/sandbox/RecordFile.h"
#include "simulator/sandbox/StopSignals.h"

// The command line and the life of a stand-in program that records what reaches it until it is
// stopped. One per program.
class StandIn {
  public:
    StandIn(const std::string& name, const std::string& description);

    // For options beyond --record and --die-with-parent.
    CLI::App& commandLine() { return m_commandLine; }

    // Reads the command line and calls `serve`, which calls announceReady once it can be reached
    // and returns when the stop is requested. Returns the program's exit status; an exception out
    // of `serve` is printed and gives 1.
    int run(int argc, char** argv,
            const std::function<void(RecordFile&, const StopSignals&)>& serve);

    static void announceReady();

  private:
    const std::string m_name;
    CLI::App m_commandLine;
    std::string m_record;
    bool m_endsWithParent = false;
};
