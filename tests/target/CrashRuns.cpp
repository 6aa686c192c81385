#include "tests/target/CrashRuns.h"

#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

namespace {

constexpr std::chrono::seconds kBootLimit{60};
constexpr std::chrono::seconds kRunLimit{10};
constexpr std::chrono::seconds kLookUpLimit{30};

// Every run finds empty logs, and leaves them in a directory of its own.
const char kRunFunction[] = R"(run() {
    mkdir "/job/$1"
    cd "/job/$1"
    shift
    crash-victim maps=maps "$@" >output 2>errors
    echo $? >status
    find /mnt/mtd/log -type f -exec mv {} . \;
}
)";

std::string scriptFor(const std::map<std::string, std::string>& options) {
    std::string script = kRunFunction;
    for (const auto& [name, words] : options) {
        script += "run " + name + " " + words + "\n";
    }
    return script;
}

std::string withoutTimes(const std::string& log) {
    static const std::regex time(R"((^|\n)\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,)");
    return std::regex_replace(log, time, "$1TIME,");
}

template <class Number>
Number numberIn(const fs::path& file, Number otherwise) {
    std::ifstream in(file);
    Number number = otherwise;
    in >> number;
    return in ? number : otherwise;
}

// What is mapped where in a process.
class MemoryMap {
  public:
    explicit MemoryMap(const fs::path& file) {
        std::ifstream in(file);
        for (std::string line; std::getline(in, line);) {
            std::smatch part;
            if (std::regex_match(line, part, std::regex("(\\w+)-(\\w+) .*[ /](\\S+)"))) {
                m_ranges.push_back(
                    {std::stoul(part[1], nullptr, 16), std::stoul(part[2], nullptr, 16), part[3]});
            }
        }
    }

    // The name of the file; empty when there is none.
    std::string fileAt(const std::string& address) const {
        const unsigned long number = std::stoul(address, nullptr, 16);
        for (const Range& range : m_ranges) {
            if (number >= range.start && number < range.end) {
                return range.file;
            }
        }
        return "";
    }

  private:
    struct Range {
        unsigned long start;
        unsigned long end;
        std::string file;
    };

    std::vector<Range> m_ranges;
};

// The functions of crash-victim in which these addresses lie.
Words functionsAt(const Words& addresses, const fs::path& scratch) {
    Words command = {"/usr/bin/arm-linux-gnueabihf-addr2line", "-Cf", "-e", CRASH_VICTIM};
    command.insert(command.end(), addresses.begin(), addresses.end());
    const fs::path output = scratch / "functions";
    const fs::path errors = scratch / "functions.errors";
    if (ChildProcess(command, output, errors).wait(kLookUpLimit) != 0) {
        throw std::runtime_error("the functions cannot be looked up: " + readText(errors));
    }
    std::ifstream in(output);
    Words functions;
    for (std::string function, place; std::getline(in, function) && std::getline(in, place);) {
        functions.push_back(function);
    }
    return functions;
}

void readCrashLine(CrashRun& run) {
    static const std::regex form(
        "\nTIME,\\[SignalError\\] (PC:(\\w+), ErrAddr:(\\w+), Stack:(\\w+(?: \\w+){9}))\n");
    std::smatch part;
    if (!std::regex_search(run.signalLog, part, form)) {
        return;
    }
    run.crashLine = part[1];
    run.programCounter = part[2];
    run.errAddr = part[3];
    std::istringstream in(part[4]);
    for (std::string word; in >> word;) {
        run.stack.push_back(word);
    }
}

void findPlaces(CrashRun& run, const fs::path& directory) {
    Words places = run.stack;
    places.insert(places.begin(), run.programCounter);
    const Words functions = functionsAt(places, directory);
    const MemoryMap map(directory / "maps");
    for (std::size_t i = 0; i < places.size(); ++i) {
        const std::string file = map.fileAt(places[i]);
        if (!file.empty()) {
            places[i] = file == "crash-victim" ? functions.at(i) : file;
        }
    }
    run.place = places.front();
    run.calls.assign(places.begin() + 1, places.end());
}

CrashRun runIn(const fs::path& directory) {
    CrashRun run;
    run.status = numberIn(directory / "status", -1);
    run.seconds = numberIn(directory / "errors", 0.0);
    run.output = readText(directory / "output");
    run.signalLog = withoutTimes(readText(directory / "SignalError.log"));
    run.rebootLog = withoutTimes(readText(directory / "Reboot.log"));
    readCrashLine(run);
    if (!run.crashLine.empty()) {
        findPlaces(run, directory);
    }
    return run;
}

}  // namespace

std::map<std::string, CrashRun> runCrashVictim(Machine& machine,
                                               const std::map<std::string, std::string>& options) {
    machine.boot(scriptFor(options));
    machine.waitUntilOff(kBootLimit + options.size() * kRunLimit);
    std::map<std::string, CrashRun> runs;
    for (const auto& [name, words] : options) {
        runs[name] = runIn(machine.jobFile(name));
    }
    return runs;
}
