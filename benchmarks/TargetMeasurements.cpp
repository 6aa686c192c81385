// Measures the tool on the target machine. usage: target_measurements DIRECTORY
//
// All figures are of one run of the machine; what matters is how they compare, for the machine is
// an emulated one and its processor's speed is that of the host.
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

namespace {

using nlohmann::json;
using std::chrono::seconds;

constexpr int kStarts = 100;
constexpr long kMostPeakKib = 4096;
constexpr std::size_t kImageSize = std::size_t{256} * 1024;

// Each figure goes to a file of its own in /job. Programs, image and log are in memory, so that the
// share, which a device does not have, costs nothing. GNU time by its path, for the shell has one
// of its own: peak, page faults with and without reading, user and system time.
const char kScript[] = R"sh(
mount -t tmpfs tmpfs /mnt/mtd/log
cp -r /job/firmware /tmp/
usage() {
    file=$1
    shift
    /usr/bin/time -o "$file" -f '%M %F %R %U %S' "$@"
}
starts() {
    begin=$(cut -d ' ' -f 1 /proc/uptime)
    i=0
    while [ $i -lt 100 ]; do "$@" >/dev/null; i=$((i + 1)); done
    echo "$begin $(cut -d ' ' -f 1 /proc/uptime)"
}
starts libraries-alone >/job/starts-nothing.txt
starts MCUUpdateTool 0 none none 1 >/job/starts-tool.txt
usage /job/nothing.txt libraries-alone
usage /job/banner.txt MCUUpdateTool 0 none none 1
usage /job/tool.txt MCUUpdateTool 1 /job/update.xml /tmp/firmware/ 2
stty -F /dev/ttyS0 115200 raw -echo
printf '\376\005\005\001\002\015\377' >/dev/ttyS0
timeout 2 cat /dev/ttyS0 >/dev/null
usage /job/sx.txt sx -kq /tmp/firmware/arm1.bin </dev/ttyS0 >/dev/ttyS0
)sh";

struct Usage {
    double peakKib;
    double majorFaults;
    double minorFaults;
    double processorSeconds;
};

Usage usageFrom(const Machine& machine, const std::string& file) {
    Usage usage{};
    double userSeconds = 0;
    double systemSeconds = 0;
    if (std::sscanf(readText(machine.jobFile(file)).c_str(), "%lf %lf %lf %lf %lf", &usage.peakKib,
                    &usage.majorFaults, &usage.minorFaults, &userSeconds, &systemSeconds) != 5) {
        throw std::runtime_error("no figures in " + file);
    }
    usage.processorSeconds = userSeconds + systemSeconds;
    return usage;
}

double millisecondsPerStart(const Machine& machine, const std::string& file) {
    double begin = 0;
    double end = 0;
    if (std::sscanf(readText(machine.jobFile(file)).c_str(), "%lf %lf", &begin, &end) != 2) {
        throw std::runtime_error("no times in " + file);
    }
    return (end - begin) * 1000 / kStarts;
}

// Seconds from the first block to the end of transmission's acknowledgement.
double transferSeconds(const Machine& machine, const std::string& mcu) {
    double begin = -1;
    double end = -1;
    for (const json& record : machine.transcript()) {
        if (record.at("mcu") != mcu) {
            continue;
        }
        const std::string meaning = record.at("meaning");
        if (meaning == "block 1" && begin < 0) {
            begin = record.at("time");
        } else if (meaning == "ACK" && record.at("detail") == "eot") {
            end = record.at("time");
        }
    }
    if (begin < 0 || end < 0) {
        throw std::runtime_error("no whole transfer to " + mcu);
    }
    return end - begin;
}

void printUsage(const char* name, const Usage& usage) {
    std::printf("%-46s %10.0f %10.0f %10.0f %10.2f\n", name, usage.peakKib, usage.majorFaults,
                usage.minorFaults, usage.processorSeconds);
}

void run(Machine& machine) {
    FirmwareImage image = FirmwareImage(kImageSize).version({2, 1, 0});
    machine.firmware("arm1.bin", image.hardware({0xA1, 0xB2, 0xC3, 0xD4}));
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0}), {"ARM2", 2, "0e0f", {1, 0, 0}, "boot"}});
    machine.boot(kScript);
    machine.waitUntilOff(seconds(300));
    if (!machine.result().markerExists || machine.mcuState("ARM2").at("images_received") != 1) {
        throw std::runtime_error("a transfer failed: " + machine.result().output +
                                 machine.result().errors);
    }
}

// Whether the memory stays below its limit.
bool report(const Machine& machine) {
    const double nothing = millisecondsPerStart(machine, "starts-nothing.txt");
    const double banner = millisecondsPerStart(machine, "starts-tool.txt");
    std::printf("\n%-46s %10s %10s\n", "start to end, mean of 100", "ms", "x nothing");
    std::printf("%-46s %10.1f %10.2f\n", "nothing (the libraries alone)", nothing, 1.0);
    std::printf("%-46s %10.1f %10.2f\n", "the tool's banner", banner, banner / nothing);

    const Usage tool = usageFrom(machine, "tool.txt");
    std::printf("\n%-46s %10s %10s %10s %10s\n", "one run", "peak KiB", "major", "minor", "CPU s");
    printUsage("nothing (the libraries alone)", usageFrom(machine, "nothing.txt"));
    printUsage("the tool's banner", usageFrom(machine, "banner.txt"));
    printUsage("an update with an image of 256 KiB", tool);
    printUsage("lrzsz's sx -k, the same image", usageFrom(machine, "sx.txt"));

    const double toolTime = transferSeconds(machine, "ARM1");
    const double sxTime = transferSeconds(machine, "ARM2");
    std::printf("\n%-46s %10s %10s\n", "256 KiB over a line of 115200 baud", "s", "x sx");
    std::printf("%-46s %10.2f %10.2f\n", "the tool", toolTime, toolTime / sxTime);
    std::printf("%-46s %10.2f %10.2f\n", "lrzsz's sx -k", sxTime, 1.0);
    return tool.peakKib < kMostPeakKib;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: target_measurements DIRECTORY\n");
        return 2;
    }
    try {
        Machine machine(std::filesystem::absolute(argv[1]));
        run(machine);
        if (!report(machine)) {
            std::fprintf(stderr, "target_measurements: the peak is %ld KiB or more\n",
                         kMostPeakKib);
            return 1;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "target_measurements: %s\n", error.what());
        return 1;
    }
    return 0;
}
