#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "simulator/sandbox/HeartbeatReader.h"

namespace {

struct Options {
    std::string pipe;
    std::string record;
    bool dieWithParent = false;
};

void addOptions(CLI::App& app, Options& options) {
    app.add_option("--pipe", options.pipe, "the heartbeat pipe")->required();
    app.add_option("--record", options.record, "the file for the heartbeats (JSON lines)")
        ->required();
    app.add_flag("--die-with-parent", options.dieWithParent,
                 "end when the process ends that started this one");
}

void runUntilStopped(const Options& options) {
    const StopSignals stop;
    if (options.dieWithParent) {
        stop.watchParent();
    }
    RecordFile records(options.record);
    HeartbeatReader reader(options.pipe, records);
    fmt::print("ready\n");
    (void)std::fflush(stdout);
    reader.run(stop);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Reads the heartbeat pipe and records what threads say.", "heartbeat-reader");
    Options options;
    addOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    try {
        runUntilStopped(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "heartbeat-reader: {}\n", error.what());
        return 1;
    }
    return 0;
}
