#include "tests/faults/UpdateDevice.h"

#include <fmt/format.h>

#include <array>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/UpdateConfigFile.h"

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

struct McuRow {
    const char* name;
    int target;
    std::array<std::uint8_t, 2> hardware;
    std::array<std::uint8_t, 3> installed;
    std::array<std::uint8_t, 3> version;  // of the image that it gets
    std::size_t imageSize;
};

constexpr std::array<McuRow, UpdateDevice::kEntries> kMcus{
    {{"ARM1", 1, {0xA1, 0xB2}, {2, 10, 4}, {2, 10, 5}, 2500},
     {"ARM2", 2, {0x0E, 0x0F}, {3, 1, 0}, {4, 0, 2}, 1024}}};

constexpr char kMarker[] = "MCUUpdateSuccess";
constexpr char kExitReport[] = "exit.json";

std::string fileOf(const McuRow& mcu) {
    return std::string(mcu.name) + ".bin";
}

FirmwareImage imageOf(const McuRow& mcu) {
    FirmwareImage image(mcu.imageSize);
    image.version(mcu.version).hardware({mcu.hardware.begin(), mcu.hardware.end()});
    return image;
}

json settingsOf(const McuRow& mcu) {
    return {{"name", mcu.name},
            {"target", mcu.target},
            {"hardware", fmt::format("{:02x}{:02x}", mcu.hardware[0], mcu.hardware[1])},
            {"version", mcu.installed},
            {"telemetry", false}};
}

// Kills the program in the sandbox, whose processes have begun one another. False while it has not
// begun.
bool killProgram(pid_t sandbox, const std::string& program) {
    for (pid_t process = sandbox;;) {
        std::string name;
        std::getline(std::ifstream(fmt::format("/proc/{}/comm", process)), name);
        if (name == program) {
            return ::kill(process, SIGKILL) == 0;
        }
        if (!(std::ifstream(fmt::format("/proc/{0}/task/{0}/children", process)) >> process)) {
            return false;
        }
    }
}

}  // namespace

UpdateDevice::UpdateDevice(fs::path directory, Surroundings surroundings)
    : m_directory(std::move(directory)), m_surroundings(std::move(surroundings)) {
    fs::remove_all(m_directory);
    fs::create_directories(job() / "firmware");
    fs::create_directories(store());
    UpdateConfigFile config;
    config.lineSetting("deviceName", "/job/ttyS1");
    json settings;
    for (const McuRow& mcu : kMcus) {
        imageOf(mcu).writeTo(job() / "firmware" / fileOf(mcu));
        config.entry(mcu.target, mcu.name, fileOf(mcu), static_cast<int>(mcu.hardware.size()));
        settings["mcus"].push_back(settingsOf(mcu));
    }
    config.writeTo(job() / "update.xml");
    writeText(m_directory / "mcus.json", settings.dump(2));
}

Options UpdateDevice::mcuOptions() const {
    Options options;
    options.config = m_directory / "mcus.json";
    options.store = store();
    options.transcript = m_directory / "transcript.jsonl";
    options.timeScale = m_surroundings.timeScale;
    return options;
}

void UpdateDevice::placeMarker() const {
    writeText(job() / kMarker, "");
}

void UpdateDevice::removeMarker() const {
    fs::remove(job() / kMarker);
}

ToolRun UpdateDevice::update(const std::function<bool()>& turn, milliseconds limit) const {
    fs::remove(job() / kExitReport);
    ToolRun run;
    const auto begin = steady_clock::now();
    ChildProcess tool({"/usr/bin/env", fmt::format("DEVICE_SHIM_EXIT_REPORT=/job/{}", kExitReport),
                       m_surroundings.sandbox, "--dir", m_directory / "device", "--time-scale",
                       fmt::format("{}", m_surroundings.timeScale), "--ptys", terminals(), "--",
                       m_surroundings.tool, "1", "/job/update.xml", "/job/firmware/",
                       std::to_string(kTimeoutSeconds)},
                      m_directory / "stdout", m_directory / "stderr");
    while (tool.isRunning()) {
        if (turn() && !run.killed) {
            run.killed = killProgram(tool.pid(), m_surroundings.tool.filename());
        }
        if (steady_clock::now() - begin > limit) {
            run.ended = false;
            (void)killProgram(tool.pid(), m_surroundings.tool.filename());
            break;
        }
    }
    run.status = tool.wait(milliseconds(10000)).value_or(-1);
    run.seconds = duration<double>(steady_clock::now() - begin).count() * m_surroundings.timeScale;
    (void)turn();  // what the tool wrote last reaches the MCUs
    collect(run);
    return run;
}

void UpdateDevice::collect(ToolRun& run) const {
    const fs::path logs = m_directory / "device" / "log";
    run.note = readText(logs / "MCUUpdateNote.log");
    run.output = readText(m_directory / "stdout");
    run.errors = readText(m_directory / "stderr");
    run.markerExists = fs::exists(job() / kMarker);
    for (const char* const log : {"SignalError.log", "ThreadException.log", "Reboot.log"}) {
        std::ifstream lines(logs / log);
        for (std::string line; std::getline(lines, line);) {
            // An attempt that has failed ends its background thread so.
            if (line.find("force stop thread(doCycleWorks") == std::string::npos) {
                run.crashLogs.push_back(fmt::format("{}: {}", log, line));
            }
        }
    }
    const std::string report = readText(job() / kExitReport);
    if (!report.empty()) {
        for (const json& left : json::parse(report)) {
            run.leftovers.push_back(left.get<std::string>());
        }
    } else if (!run.killed) {
        run.leftovers.push_back("no report at the exit");
    }
}

bool UpdateDevice::allHoldTheirImage() const {
    for (const McuRow& mcu : kMcus) {
        if (readBytes(store() / fileOf(mcu)) != imageOf(mcu).padded()) {
            return false;
        }
    }
    return true;
}

bool UpdateDevice::noneHoldsAnother() const {
    for (const McuRow& mcu : kMcus) {
        const fs::path stored = store() / fileOf(mcu);
        if (fs::exists(stored) && readBytes(stored) != imageOf(mcu).padded()) {
            return false;
        }
    }
    return true;
}
