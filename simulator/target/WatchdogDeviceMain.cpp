#include "simulator/sandbox/StandIn.h"
#include "simulator/target/WatchdogDevice.h"

int main(int argc, char** argv) {
    StandIn program("watchdog-device", "Is the hardware watchdog of a target machine.");
    return program.run(argc, argv, [](RecordFile& records, const StopSignals& stop) {
        WatchdogDevice(records).run(stop);
    });
}
