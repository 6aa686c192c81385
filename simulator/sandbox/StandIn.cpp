#include "simulator/sandbox/StandIn.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>

StandIn::StandIn(const std::string& name, const std::string& description)
    : m_name(name), m_commandLine(description, name) {
    m_commandLine.add_option("--record", m_record, "the file for what comes (JSON lines)")
        ->required();
    m_commandLine.add_flag("--die-with-parent", m_endsWithParent,
                           "end when the process ends that started this one");
}

int StandIn::run(int argc, char** argv,
                 const std::function<void(RecordFile&, const StopSignals&)>& serve) {
    CLI11_PARSE(m_commandLine, argc, argv);
    try {
        const StopSignals stop;
        if (m_endsWithParent) {
            stop.watchParent();
        }
        RecordFile records(m_record);
        serve(records, stop);
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}: {}\n", m_name, error.what());
        return 1;
    }
    return 0;
}

void StandIn::announceReady() {
    fmt::print("ready\n");
    (void)std::fflush(stdout);
}
