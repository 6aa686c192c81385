// Whole jobs: the configuration's values and what the MCUs send are the input's. Input: the Type
// and the time-out in a byte each; what becomes of the line, in a byte: which of its settings
// fails, and kLeaves when the line goes away; the line's settings in a byte each; a text that is
// put behind the device's name; the number of entries in a byte, and for each its armType in a
// byte, a byte of options, and the texts of its name, positions, mask and flag, and its length in a
// byte; the image as a text; the faults of the line as a text (support/ScriptedLine.h); the rest is
// what comes out of the line.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

#include "app/UpdateJob.h"
#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "tests/fuzz/support/Files.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/ScriptedLine.h"

namespace {

constexpr char kConfig[] = "/tmp/job.xml";
constexpr char kMarker[] = "MCUUpdateSuccess";
constexpr unsigned kLeaves = 0x80;
constexpr unsigned kOtherFile = 0x01;  // the entry names a file that is not there
constexpr std::size_t kBlockLength = 1029;
const std::string kReboot("\xFE\x01\x10\x04\x00\x0F\x00\x00\x24\xFF", 10);
const std::string kReset("\xFE\x01\x10\x04\x00\x29\x00\x00\x3E\xFF", 10);
constexpr unsigned kMostEntries = 2;

bool workInMemory() {
    return chdir("/tmp") == 0;
}

// As the value of an attribute; a zero byte cannot be one.
std::string escaped(const std::string& text) {
    std::string value;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 || (std::string("<>&\"'").find(c) == std::string::npos && byte >= 0x20)) {
            value += c;
        } else if (byte != 0) {
            value += "&#" + std::to_string(byte) + ";";
        }
    }
    return value;
}

std::string attribute(const std::string& key, const std::string& value) {
    return " " + key + "=\"" + escaped(value) + "\"";
}

std::string settingOf(unsigned choice) {
    constexpr std::array<const char*, 8> kSettings = {"0",      "8",  "2", "115200",
                                                      "300000", "-1", "1", "99999999999"};
    return kSettings[choice % kSettings.size()];
}

std::string entryOf(FuzzInput& input) {
    std::string item = "<ConfigItem" + attribute("armType", std::to_string(input.byte()));
    const unsigned options = input.byte();
    item += attribute("fileName", (options & kOtherFile) != 0 ? "missing.bin" : "image.bin");
    item += attribute("armName", input.text());
    item += attribute("versionPosition", input.text());
    item += attribute("hardwareInfoPosition", input.text());
    item += attribute("hardwareInfoMask", input.text());
    item += attribute("ForceUpdate", input.text());
    item += attribute("hardwareInfoLength", std::to_string(input.byte()));
    return item + "/>";
}

std::string configOf(FuzzInput& input) {
    std::string param = "<Configure name=\"UpdateParam\"";
    for (const char* key : {"BaudRate", "DataBits", "StopBits", "Parity"}) {
        param += attribute(key, settingOf(input.byte()));
    }
    param += attribute("deviceName", ScriptedLine::kPath + input.text()) + "/>";
    std::string list = "<Configure name=\"UpdateFileList\">";
    const unsigned entries = input.byte() % kMostEntries;
    for (unsigned i = 0; i <= entries; ++i) {
        list += entryOf(input);
    }
    return "<Configure name=\"x\">" + param + list + "</Configure></Configure>";
}

bool wroteBlock(const ScriptedLine& line) {
    for (const ScriptedLine::Event& event : line.events()) {
        if (event.kind == ScriptedLine::Event::Kind::Written &&
            event.bytes.size() == kBlockLength) {
            return true;
        }
    }
    return false;
}

void requireUpdateOutcome(bool succeeded) {
    const std::string note = readFile(device_paths::kUpdateNoteLog);
    require(succeeded == (access(kMarker, F_OK) == 0), "the marker stands for a success");
    require(succeeded == (note.find("update seccess!") != std::string::npos),
            "the note tells of a success");
}

// Of a reboot or a reset its frame goes out, or the beginning that the line takes, and nothing
// else.
void requireSingleCommand(const ScriptedLine& line, bool succeeded, const std::string& frame) {
    std::string sent;
    for (const ScriptedLine::Event& event : line.events()) {
        require(event.kind == ScriptedLine::Event::Kind::Written, "nothing is read");
        sent += event.bytes.substr(0, static_cast<std::size_t>(std::max<ssize_t>(0, event.result)));
    }
    require(frame.compare(0, sent.size(), sent) == 0, "nothing but the command is sent");
    require(!succeeded || !line.events().empty(), "a command that succeeded was sent");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const bool kIsReady = workInMemory();
    require(kIsReady, "the marker is written into memory");
    const LittleTime limit;
    FuzzInput input(data, size);
    const int type = input.byte() % 5;
    const int timeout = input.byte() % 4;
    const unsigned fate = input.byte();
    writeFile(kConfig, configOf(input));
    writeFile("/tmp/image.bin", input.text());
    const std::string faults = input.text();
    const std::string replies = input.rest();
    UpdateNote::remove();
    (void)unlink(kMarker);
    ScriptedLine line({faults, replies, 0, fate % kLeaves, fate >= kLeaves});
    const bool succeeded = runJob(type, {kConfig, "/tmp/", timeout});
    if (type == 1) {
        requireUpdateOutcome(succeeded);
    } else if (type == 2 || type == 3) {
        requireSingleCommand(line, succeeded, type == 2 ? kReboot : kReset);
    } else {
        require(!succeeded && line.calls() == 0, "other jobs do nothing");
    }
    require(!wroteBlock(line) ||
                replies.find(std::string("\xFE\x05\x06\x01\x00", 5)) != std::string::npos,
            "an image is sent when the MCU permitted it");
    return 0;
}
