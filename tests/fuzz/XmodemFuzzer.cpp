// The transfer of an image. Input: a byte of options (below); the length of the file in two bytes;
// the time-out in a byte; the faults of the line as a text of its own (support/ScriptedLine.h); the
// rest is what the boot loader sends.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

#include "mcu/UpdateNote.h"
#include "mcu/XmodemSender.h"
#include "tests/fuzz/support/Files.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/ScriptedLine.h"
#include "tests/fuzz/support/XmodemOracle.h"

namespace {

constexpr unsigned kMissing = 0x01;       // there is no file
constexpr unsigned kDirectory = 0x02;     // the file is a directory: it opens, but cannot be read
constexpr unsigned kLarge = 0x04;         // 255 blocks more
constexpr unsigned kAcknowledged = 0x08;  // acknowledgements without end follow what is sent

constexpr std::size_t kMostLength = std::size_t{16} * 1024;
constexpr std::size_t kLargeLength = std::size_t{255} * 1024;
constexpr unsigned kManyAcknowledgements = 400;
constexpr char kPath[] = "/tmp/image.bin";

// Neighbouring blocks of it differ.
std::string longestContent() {
    std::string content(kMostLength + kLargeLength, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 7 + i / 1024 + 1);
    }
    return content;
}

std::string contentOf(std::size_t length) {
    static const std::string kLongest = longestContent();
    return kLongest.substr(0, length);
}

bool isSilence(const ScriptedLine::Event& event) {
    return event.kind == ScriptedLine::Event::Kind::Silence;
}

bool hasFailures(const ScriptedLine& line) {
    return std::any_of(line.events().begin(), line.events().end(),
                       [](const auto& event) { return event.result < 0; });
}

// Whether every wait for a reply ended when it should: after a silence that is longer than the
// time-out by one read at most, whatever the wall clock says. The clearing of the line may be one
// silent read more.
void requirePatience(const ScriptedLine& line, int timeoutSeconds, bool isClockSet, int result) {
    constexpr int kReadSeconds = 3;
    const int slack = isClockSet ? 2 : 0;
    const int most = std::max(timeoutSeconds + slack, 0) / kReadSeconds + 2;
    int silent = 0;
    int longest = 0;
    for (const ScriptedLine::Event& event : line.events()) {
        silent = isSilence(event) ? silent + 1 : 0;
        longest = std::max(silent, longest);
    }
    require(longest <= most, "a wait ends in time");
    require(result != -2 || longest * kReadSeconds + slack > timeoutSeconds,
            "a wait does not end before its time");
}

bool setsClock(const std::string& faults) {
    return std::any_of(faults.begin(), faults.end(), [](char fault) {
        const auto byte = static_cast<unsigned char>(fault);
        return byte == line_fault::kClockBack || byte == line_fault::kClockForward;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    const unsigned options = input.byte();
    const std::size_t length =
        input.word() % kMostLength + ((options & kLarge) != 0 ? kLargeLength : 0);
    const int timeout = input.byte() % 64 - 1;
    const std::string faults = input.text();
    const unsigned acknowledgements = (options & kAcknowledged) != 0 ? kManyAcknowledgements : 0;
    UpdateNote::remove();
    ScriptedLine line({faults, input.rest(), acknowledgements});
    const bool isMissing = (options & kMissing) != 0;
    const bool isDirectory = !isMissing && (options & kDirectory) != 0;
    const std::string content = isMissing || isDirectory ? "" : contentOf(length);
    if (!isMissing && !isDirectory) {
        writeFile(kPath, content);
    }
    XmodemSender sender;
    sender.setTimeout(timeout);
    require(sender.open(ScriptedLine::kPath), "the line opens");
    const int result = sender.sendFile(isDirectory ? "/tmp" : isMissing ? "/tmp/no.bin" : kPath);
    require(result != -1 || isMissing || isDirectory, "a file that can be read is read");
    requireXmodem(line.events(), content, result);
    if (!hasFailures(line)) {
        requirePatience(line, timeout, setsClock(faults), result);
    }
    return 0;
}
