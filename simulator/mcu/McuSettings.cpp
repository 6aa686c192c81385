#include "simulator/mcu/McuSettings.h"

#include <unistd.h>

#include <set>

#include "simulator/mcu/Frame.h"

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kVersionLength = 3;
constexpr std::size_t kMostHardware = 255;
constexpr std::size_t kDefaultVersionPosition = 0x10;
constexpr std::size_t kDefaultHardwarePosition = 0x20;
constexpr milliseconds kDefaultBootDelay{500};
// A sender may drain the line until it was silent for three seconds before it listens for the start
// byte; start bytes that come closer together than that would keep it draining for ever.
constexpr milliseconds kDefaultStartDelay{5000};
constexpr milliseconds kDefaultStartInterval{10000};
constexpr int kDefaultStartBytes = 12;
constexpr milliseconds kDefaultBlockTimeout{10000};
constexpr int kDefaultBlockTimeouts = 10;
constexpr milliseconds kDefaultReceiverLimit{120000};
constexpr milliseconds kDefaultTelemetryPeriod{1000};
constexpr milliseconds kDefaultTelemetryQuiet{5000};

Time timeOr(const Setting& object, const char* key, Time fallback) {
    return object.has(key) ? object.at(key).milliseconds() : fallback;
}

Time periodOr(const Setting& object, const char* key, Time fallback) {
    if (!object.has(key)) {
        return fallback;
    }
    (void)object.at(key).number(1, 24LL * 60 * 60 * 1000);
    return object.at(key).milliseconds();
}

bool truthOr(const Setting& object, const char* key, bool fallback) {
    return object.has(key) ? object.at(key).truth() : fallback;
}

std::string readName(const Setting& mcu) {
    const Setting setting = mcu.at("name");
    const std::string name = setting.text();
    if (name.find('/') != std::string::npos || name[0] == '.') {
        setting.fail("a name that can be a file's: no slash, no dot in front");
    }
    return name;
}

Bytes readVersion(const Setting& mcu) {
    const Setting setting = mcu.at("version");
    Bytes version;
    for (const Setting& part : setting.elements()) {
        version.push_back(static_cast<std::uint8_t>(part.number(0, 255)));
    }
    if (version.size() != kVersionLength) {
        setting.fail("a list of three numbers such as [2, 10, 5]");
    }
    return version;
}

Bytes readHardware(const Setting& mcu) {
    Bytes hardware = mcu.at("hardware").hexBytes();
    if (hardware.size() > kMostHardware) {
        mcu.at("hardware").fail("at most 255 bytes");
    }
    return hardware;
}

ImageLayout readLayout(const Setting& mcu, std::size_t hardwareLength) {
    ImageLayout layout{kDefaultVersionPosition, kDefaultHardwarePosition, hardwareLength};
    if (mcu.has("version_position")) {
        layout.versionPosition = mcu.at("version_position").position();
    }
    if (mcu.has("hardware_position")) {
        layout.hardwarePosition = mcu.at("hardware_position").position();
    }
    if (mcu.has("hardware_length")) {
        layout.hardwareLength =
            static_cast<std::size_t>(mcu.at("hardware_length").number(0, kMostHardware));
    }
    return layout;
}

XmodemSettings readXmodem(const Setting& mcu) {
    XmodemSettings xmodem{kDefaultStartDelay,   kDefaultStartInterval, kDefaultStartBytes,
                          kDefaultBlockTimeout, kDefaultBlockTimeouts, false};
    if (!mcu.has("xmodem")) {
        return xmodem;
    }
    const Setting setting = mcu.at("xmodem");
    setting.expectObject({"start_delay_ms", "start_interval_ms", "start_bytes", "block_timeout_ms",
                          "block_timeouts", "refuse_first_eot", "receiver", "receiver_limit_ms"});
    xmodem.startDelay = timeOr(setting, "start_delay_ms", xmodem.startDelay);
    xmodem.startInterval = periodOr(setting, "start_interval_ms", xmodem.startInterval);
    xmodem.blockTimeout = periodOr(setting, "block_timeout_ms", xmodem.blockTimeout);
    xmodem.refuseFirstEot = truthOr(setting, "refuse_first_eot", false);
    if (setting.has("start_bytes")) {
        xmodem.startBytes = static_cast<int>(setting.at("start_bytes").number(1, 1000000));
    }
    if (setting.has("block_timeouts")) {
        xmodem.blockTimeouts = static_cast<int>(setting.at("block_timeouts").number(0, 1000000));
    }
    return xmodem;
}

ProgramSettings readReceiver(const Setting& mcu, Time startDelay) {
    ProgramSettings receiver{{}, startDelay, kDefaultReceiverLimit};
    if (!mcu.has("xmodem") || !mcu.at("xmodem").has("receiver")) {
        return receiver;
    }
    const Setting setting = mcu.at("xmodem").at("receiver");
    bool namesFile = false;
    for (const Setting& word : setting.elements()) {
        receiver.command.push_back(word.text());
        namesFile = namesFile || word.text() == "FILE";
    }
    if (!namesFile) {
        setting.fail(R"(a program and its arguments, "FILE" for the file that it is to write)");
    }
    if (access(receiver.command[0].c_str(), X_OK) != 0) {
        setting.elements()[0].fail("the path of a program");
    }
    receiver.silenceLimit = periodOr(mcu.at("xmodem"), "receiver_limit_ms", receiver.silenceLimit);
    return receiver;
}

TelemetrySettings readTelemetry(const Setting& mcu, std::uint8_t target) {
    TelemetrySettings telemetry{false, kDefaultTelemetryPeriod, kDefaultTelemetryQuiet, {}};
    telemetry.content = encodeFrame({0x03, 0x01, {target, 0x00, 0x2A}});
    if (!mcu.has("telemetry")) {
        return telemetry;
    }
    const Setting setting = mcu.at("telemetry");
    if (setting.json().is_boolean()) {
        telemetry.on = setting.truth();
        return telemetry;
    }
    setting.expectObject({"period_ms", "quiet_ms", "content"});
    telemetry.on = true;
    telemetry.period = periodOr(setting, "period_ms", telemetry.period);
    telemetry.quiet = timeOr(setting, "quiet_ms", telemetry.quiet);
    if (setting.has("content")) {
        telemetry.content = setting.at("content").hexBytes();
    }
    return telemetry;
}

McuSettings readMcu(const Setting& mcu) {
    mcu.expectObject({"name", "target", "hardware", "version", "state", "image", "boot_delay_ms",
                      "erase_on_update", "version_position", "hardware_position", "hardware_length",
                      "xmodem", "telemetry"});
    McuSettings settings;
    settings.name = readName(mcu);
    settings.target = static_cast<std::uint8_t>(mcu.at("target").number(0, 255));
    settings.hardware = readHardware(mcu);
    settings.version = readVersion(mcu);
    settings.startsInBoot =
        mcu.has("state") && mcu.at("state").choice({"application", "boot"}) == 1;
    settings.image = mcu.has("image") ? mcu.at("image").text() : "";
    settings.bootDelay = timeOr(mcu, "boot_delay_ms", kDefaultBootDelay);
    settings.eraseOnUpdate = truthOr(mcu, "erase_on_update", true);
    settings.layout = readLayout(mcu, settings.hardware.size());
    settings.xmodem = readXmodem(mcu);
    settings.receiver = readReceiver(mcu, settings.xmodem.startDelay);
    settings.telemetry = readTelemetry(mcu, settings.target);
    return settings;
}

}  // namespace

std::vector<McuSettings> readMcuSettings(const SettingsFile& file) {
    const Setting root = file.root();
    root.expectObject({"mcus"});
    std::vector<McuSettings> all;
    std::set<std::string> names;
    std::set<std::uint8_t> targets;
    for (const Setting& mcu : root.at("mcus").elements()) {
        all.push_back(readMcu(mcu));
        if (!names.insert(all.back().name).second) {
            mcu.at("name").fail("a name that no other MCU has");
        }
        if (!targets.insert(all.back().target).second) {
            mcu.at("target").fail("a target that no other MCU has");
        }
    }
    if (all.empty()) {
        root.at("mcus").fail("at least one MCU");
    }
    return all;
}
