#include "simulator/sandbox/ControlDaemon.h"
#include "simulator/sandbox/StandIn.h"

int main(int argc, char** argv) {
    StandIn program("control-daemon", "Stands in for the device's control daemon; runs nothing.");
    std::string socket;
    std::int32_t code = 0;
    bool isSilent = false;
    program.commandLine()
        .add_option("--socket", socket, "the Unix socket to listen on")
        ->required();
    auto* reply = program.commandLine()
                      .add_option("--reply", code, "what every command is answered with")
                      ->capture_default_str();
    program.commandLine().add_flag("--silent", isSilent, "never answer")->excludes(reply);
    return program.run(argc, argv, [&](RecordFile& records, const StopSignals& stop) {
        ControlDaemon daemon(socket, isSilent ? std::nullopt : std::make_optional(code), records);
        StandIn::announceReady();
        daemon.run(stop);
    });
}
