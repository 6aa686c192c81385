#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "app/StandardStreams.h"
#include "app/UpdateJob.h"
#include "mcu/UpdateNote.h"

namespace {

constexpr int kArgumentCount = 5;
constexpr int kWrongArgumentCount = -1;
constexpr int kDecimal = 10;

// Output appears as it happens also when it goes into a pipe or a file.
void useLineBuffering() {
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
}

// A heartbeat reader that goes away between open and write must not end the program.
void ignoreBrokenPipes() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

int withinInt(long number) {
    return static_cast<int>(
        std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

int main(int argc, char** argv) {
    fillStandardStreams();
    useLineBuffering();
    ignoreBrokenPipes();
    if (argc != kArgumentCount) {
        std::puts("usage:[exe][Type][MCUUpdateConfigFile][MCUUpdateFilePath][Timeout]");
        return kWrongArgumentCount;
    }
    UpdateNote::remove();
    UpdateNote::log(
        "========================\n MCUUpdateTool Ver 2.10 \n========================\n");
    const long type = std::strtol(argv[1], nullptr, kDecimal);
    const long timeout = std::strtol(argv[4], nullptr, kDecimal);
    // The outcome is told by the marker file and the note alone; callers do not read the status.
    (void)runJob(type, {argv[2], argv[3], withinInt(timeout)});
    return 0;
}
