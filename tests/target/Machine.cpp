#include "tests/target/Machine.h"

#include <unistd.h>
#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::steady_clock;

const char kUpdateCommand[] = "MCUUpdateTool 1 /job/update.xml /job/firmware/ 2";

namespace {

constexpr int kBootDelayMilliseconds = 500;
const char kLine[] = "/dev/ttyS0";
constexpr std::chrono::milliseconds kPoll{50};

}  // namespace

Machine::Machine() : Machine(directoryOfThisTest(TARGET_DIRECTORY)) {}

Machine::Machine(const fs::path& directory) : SimulatedLine(directory) {
    fs::create_directories(share() / "job" / "firmware");
}

fs::path Machine::jobFile(const std::string& name) const {
    return share() / "job" / name;
}

void Machine::firmware(const std::string& fileName, const FirmwareImage& image) {
    image.writeTo(jobFile("firmware") / fileName);
}

void Machine::configuration(UpdateConfigFile config) {
    config.lineSetting("deviceName", kLine).writeTo(jobFile("update.xml"));
}

void Machine::connect(std::vector<SimulatedMcu> mcus, const json& faults, int baud) {
    for (SimulatedMcu& mcu : mcus) {
        mcu.bootDelayMilliseconds = kBootDelayMilliseconds;
    }
    const std::string address =
        startMcus(mcus, faults, {"--tcp", "0", "--baud", std::to_string(baud)});
    const std::size_t colon = address.find(':');
    const std::string port = address.substr(colon + 1, address.find('\n') - colon - 1);
    m_lineOptions = {"-chardev", "socket,id=line,nodelay=on,host=127.0.0.1,port=" + port, "-device",
                     "pci-serial,chardev=line"};
}

void Machine::connectToItself() {
    // Named from the working directory, for the whole path could be too long for a socket.
    const std::string socket = "line." + std::to_string(getpid());
    m_lineOptions = {"-chardev", "socket,id=one,server=on,wait=off,path=" + socket,
                     "-chardev", "socket,id=two,path=" + socket,
                     "-device",  "pci-serial,chardev=one",
                     "-device",  "pci-serial,chardev=two",
                     "-trace",   "serial_update_parameters",
                     "-trace",   "serial_write",
                     "-D",       serialTrace()};
}

std::vector<std::string> Machine::command() const {
    const fs::path machine(TARGET_MACHINE);
    std::vector<std::string> words = {"/usr/bin/qemu-system-arm",
                                      "-M",
                                      "virt,highmem=off",
                                      "-cpu",
                                      "cortex-a15",
                                      "-m",
                                      "256",
                                      "-nic",
                                      "none",
                                      "-nographic",
                                      "-no-reboot",
                                      "-kernel",
                                      machine / "kernel",
                                      "-initrd",
                                      machine / "initrd",
                                      "-append",
                                      "console=ttyAMA0 quiet panic=-1",
                                      "-fsdev",
                                      "local,id=share,security_model=none,path=" + share().string(),
                                      "-device",
                                      "virtio-9p-pci,fsdev=share,mount_tag=share"};
    words.insert(words.end(), m_lineOptions.begin(), m_lineOptions.end());
    return words;
}

void Machine::boot(const std::string& script) {
    fs::remove(share() / "status");
    writeText(share() / "run", script);
    m_emulator = std::make_unique<ChildProcess>(command(), directory() / "console.txt",
                                                directory() / "emulator.err");
}

void Machine::waitUntilOff(std::chrono::seconds limit) {
    const bool isOff = m_emulator->wait(limit).has_value();
    m_emulator->terminate();
    if (!isOff) {
        throw std::runtime_error("the machine still runs:" + lastWords());
    }
    if (!fs::exists(share() / "status")) {
        throw std::runtime_error("the machine went off too early:" + lastWords());
    }
}

std::string Machine::lastWords() const {
    std::string words;
    for (const fs::path& file : {directory() / "console.txt", directory() / "emulator.err",
                                 share() / "output", share() / "errors"}) {
        constexpr std::size_t kLast = 2000;
        const std::string text = readText(file);
        words += "\n--- " + file.filename().string() + ":\n" +
                 text.substr(text.size() - std::min(text.size(), kLast));
    }
    return words;
}

void Machine::cutPower() {
    m_emulator->kill();
}

void Machine::waitForMeaning(const std::string& meaning, std::chrono::seconds limit) {
    const auto deadline = steady_clock::now() + limit;
    for (;;) {
        const std::vector<std::string> sent = sentMeanings();
        if (std::find(sent.begin(), sent.end(), meaning) != sent.end()) {
            return;
        }
        if (!m_emulator->isRunning() || steady_clock::now() > deadline) {
            throw std::runtime_error("nothing went over the line that means " + meaning +
                                     lastWords());
        }
        std::this_thread::sleep_for(kPoll);
    }
}

RunResult Machine::result() const {
    RunResult result;
    std::istringstream(readText(share() / "status")) >> result.status;
    result.output = readText(share() / "output");
    result.errors = readText(share() / "errors");
    result.note = readText(share() / "log" / "MCUUpdateNote.log");
    result.markerExists = fs::exists(jobFile("MCUUpdateSuccess"));
    result.line = kLine;
    return result;
}

RunResult Machine::runTool(const std::string& arguments, std::chrono::seconds limit) {
    boot("exec MCUUpdateTool " + arguments + "\n");
    waitUntilOff(limit);
    return result();
}

RunResult Machine::update(std::chrono::seconds limit) {
    boot("exec " + std::string(kUpdateCommand) + "\n");
    waitUntilOff(limit);
    return result();
}

std::vector<json> Machine::records(const std::string& fileName) const {
    return jsonLines(share() / fileName);
}
