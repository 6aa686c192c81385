#include "tests/app/UpdaterFixture.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>

#include "app/MCUUpdater.h"
#include "mcu/UpdateNote.h"
#include "tests/app/NoThreads.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

void Updater::SetUp() {
    UpdateNote::remove();
    entry.armType = 3;
    entry.armName = "ARM3";
    entry.filePath = "arm3.bin";
    entry.fileVersion = "210";
    entry.fileHardware = "ab01";
    mcu.answer(FakeMcu::kHardware, {answers::kHardwareAb01});
    mcu.answer(FakeMcu::kVersion, {answers::kVersion210});
    mcu.answer(FakeMcu::kState, {answers::kBootState});
    mcu.answer(FakeMcu::kUpdate, {answers::kRefused});
}

void Updater::attempt(std::optional<int> timeoutSeconds) {
    mcu.start();
    const OutputCapture output(1);
    {
        std::optional<NoThreads> noKeeper;
        if (!hasKeeper) {
            noKeeper.emplace();
        }
        MCUUpdater updater;
        updater.setEntry(entry);
        updater.setDeviceName(deviceName);
        updater.setParam(115200, 8, 0, 0);
        if (timeoutSeconds) {
            updater.setTimeout(*timeoutSeconds);
        }
        result = updater.update();
        portsAtTheEnd = openPorts();
    }
    requests = mcu.stop();
    printed = output.text();
}

long Updater::openPorts() const {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return std::count_if(begin(open), end(open), [this](const auto& descriptor) {
        std::error_code gone;
        return std::filesystem::read_symlink(descriptor, gone) == mcu.line().path();
    });
}

// The first one follows the blank with which the session's parameters end.
Texts Updater::steps() {
    Texts found;
    std::istringstream note(noteText());
    for (std::string line; std::getline(note, line);) {
        const std::size_t begin = line.find("MCUUpdater ");
        if (begin <= 1) {
            found.push_back(line.substr(begin));
        }
    }
    return found;
}

Texts Updater::transcript() const {
    constexpr std::array<const char*, 9> kBegins = {
        "slept ",  "no thread",        "MCUUpdater ",    "SendCommand : ", "Cur ",
        "Update ", "Not boot state. ", "can not getMCU", "Do not need "};
    Texts found;
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(' '));
        if (std::any_of(kBegins.begin(), kBegins.end(),
                        [&](const char* text) { return line.rfind(text, 0) == 0; })) {
            found.push_back(line);
        }
    }
    return found;
}
