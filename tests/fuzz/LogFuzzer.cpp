// The logs and the note, with texts of any kind and hostile things in their places. Input: what
// stands in the log's and in its first backup's place, a byte each (Place, below); the size limit
// and the number of backups in four bytes each; a number in four bytes; the category as a text; the
// rest is the message.
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "mcu/MCUSession.h"
#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "technic/LogFile.h"
#include "technic/SystemLogger.h"
#include "tests/fuzz/support/Files.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/ScriptedLine.h"

namespace {

namespace fs = std::filesystem;

enum Place : unsigned {
    kNothing,
    kFile,
    kFullDirectory,
    kLinkToItself,
    kFullDevice,
    kPipe,
    kPlaces
};

const std::string kFolder = "/tmp/log";
const std::string kLog = kFolder + "/events.log";
const std::string kFirstBackup = kLog + ".1";
constexpr std::size_t kStampLength = 19;

void put(Place place, const std::string& path, const std::string& content) {
    switch (place) {
        case kFile:
            writeFile(path, content);
            break;
        case kFullDirectory:
            fs::create_directory(path);
            writeFile(path + "/file", content);
            break;
        case kLinkToItself:
            fs::create_symlink(path, path);
            break;
        case kFullDevice:
            fs::create_symlink("/dev/full", path);
            break;
        case kPipe:
            require(mkfifo(path.c_str(), 0600) == 0, "a pipe is made");
            break;
        default:
            break;
    }
}

struct Message {
    std::string category;
    std::string text;
};

bool endsWithLine(const std::string& content, const Message& message) {
    const std::string line =
        ",[" + upToZero(message.category) + "] " + upToZero(message.text) + "\n";
    return content.size() >= kStampLength + line.size() &&
           content.compare(content.size() - line.size(), line.size(), line) == 0;
}

// The event logs of the program. `before` is what stood in the log.
void writeEvent(const Message& message, std::uint32_t maxSize, std::uint32_t backups,
                const std::string& before, bool isHostile) {
    writeLogLine(kLog, message.category, message.text, maxSize, backups);
    if (isHostile) {
        return;
    }
    const std::string content = readFile(kLog);
    const bool isRotated = before.size() >= maxSize;
    require(endsWithLine(content, message), "an event is the last line of its log");
    require(content.size() == kStampLength + upToZero(message.category).size() +
                                  upToZero(message.text).size() + 5 +
                                  (isRotated ? 0 : before.size()),
            "an event is appended, or begins a new log");
    require(!isRotated || readFile(kFirstBackup) == before, "a log that is full is kept");
}

void logText(const Message& message, std::uint32_t maxSize, std::uint32_t backups, bool isHostile) {
    SystemLogger& logger = SystemLogger::instance();
    (void)logger.init(kLog, maxSize, backups);
    logger.log(message.category.c_str(), message.text.c_str());
    require(isHostile || endsWithLine(readFile(kLog), message), "a text is the last line");
    LogFile uninitialised;
    uninitialised.log(message.category.c_str(), message.text.c_str());
}

std::string expectedText(const std::string& text) {
    constexpr std::size_t kMostCharacters = 1023;
    if (text.empty()) {
        return "too many message, cannot print";
    }
    const bool endsLine = text.size() > 1 && text.size() <= kMostCharacters && text.back() == '\n';
    return text.substr(0, endsLine ? text.size() - 1 : kMostCharacters);
}

void logFormatted(const Message& message, int number, bool isHostile) {
    SystemLogger::instance().logf({message.category.c_str(), number}, "format", "%s",
                                  message.text.c_str());
    const std::string place =
        ",in " + upToZero(message.category) + ",line " + std::to_string(number);
    const std::string text = expectedText(upToZero(message.text)) + place;
    require(isHostile || endsWithLine(readFile(kLog), {"format", text}),
            "a formatted text is the last line");
}

// The note holds what it was told, whatever the text; a device that cannot be opened is told whole.
void note(const Message& message, int number) {
    UpdateNote::log(message.text.c_str());
    UpdateNote::log(message.category.c_str());
    {
        const ScriptedLine line({});
        MCUSession session;
        session.setDeviceName("x" + message.text);
        session.setParam(number, 8, 0, 0);
        require(session.open() == -1, "a device of another name does not open");
    }
    const std::string parameters = " m_strDeviceName = x" + upToZero(message.text) +
                                   "\n m_nBaudrate = " + std::to_string(number) +
                                   "\n m_nDatabits = 8\n m_nStopbits = 0\n m_nParity = 0\n ";
    require(readFile(device_paths::kUpdateNoteLog) ==
                upToZero(message.text) + upToZero(message.category) + parameters,
            "the note holds what it was told");
    UpdateNote::remove();
    require(access(device_paths::kUpdateNoteLog, F_OK) != 0, "a note can be removed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    const auto place = static_cast<Place>(input.byte() % kPlaces);
    const auto backupPlace = static_cast<Place>(input.byte() % kPlaces);
    const auto maxSize = static_cast<std::uint32_t>(input.number());
    const auto backups = static_cast<std::uint32_t>(input.number());
    const int number = input.number();
    const Message message{input.text(), input.rest()};
    fs::remove_all(kFolder);
    fs::create_directory(kFolder);
    put(place, kLog, message.category);
    put(backupPlace, kFirstBackup, message.category);
    const bool isHostile = place > kFile || backupPlace > kFile;
    writeEvent(message, maxSize, backups, place == kFile ? message.category : "", isHostile);
    logText(message, maxSize, backups, isHostile);
    logFormatted(message, number, isHostile);
    note(message, number);
    return 0;
}
