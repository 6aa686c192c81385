#include "simulator/sandbox/HeartbeatReader.h"
#include "simulator/sandbox/StandIn.h"

int main(int argc, char** argv) {
    StandIn program("heartbeat-reader", "Reads the heartbeat pipe and records what threads say.");
    std::string pipe;
    program.commandLine().add_option("--pipe", pipe, "the heartbeat pipe")->required();
    return program.run(argc, argv, [&](RecordFile& records, const StopSignals& stop) {
        HeartbeatReader reader(pipe, records);
        StandIn::announceReady();
        reader.run(stop);
    });
}
