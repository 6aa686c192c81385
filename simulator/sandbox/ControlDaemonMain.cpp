#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "simulator/sandbox/ControlDaemon.h"

namespace {

struct Options {
    std::string socket;
    std::string record;
    std::int32_t reply = 0;
    bool silent = false;
    bool dieWithParent = false;
};

void addOptions(CLI::App& app, Options& options) {
    app.add_option("--socket", options.socket, "the Unix socket to listen on")->required();
    app.add_option("--record", options.record, "the file for the commands (JSON lines)")
        ->required();
    auto* reply = app.add_option("--reply", options.reply, "what every command is answered with")
                      ->capture_default_str();
    app.add_flag("--silent", options.silent, "never answer")->excludes(reply);
    app.add_flag("--die-with-parent", options.dieWithParent,
                 "end when the process ends that started this one");
}

void runUntilStopped(const Options& options) {
    const StopSignals stop;
    if (options.dieWithParent) {
        stop.watchParent();
    }
    RecordFile records(options.record);
    const auto reply = options.silent ? std::nullopt : std::make_optional(options.reply);
    ControlDaemon daemon(options.socket, reply, records);
    fmt::print("ready\n");
    (void)std::fflush(stdout);
    daemon.run(stop);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Stands in for the device's control daemon; runs nothing.", "control-daemon");
    Options options;
    addOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    try {
        runUntilStopped(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "control-daemon: {}\n", error.what());
        return 1;
    }
    return 0;
}
