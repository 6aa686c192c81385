// The decoders of the MCUs' answers. Input: the bytes of a frame, from its start byte on.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "mcu/MCUCommand.h"
#include "mcu/MCUCommandFactory.h"
#include "mcu/MCURespCommands.h"
#include "tests/fuzz/support/ReplyOracle.h"
#include "tests/fuzz/support/Require.h"

namespace {

// Exactly what a decoder may read.
std::unique_ptr<unsigned char[]> frameOf(const unsigned char* data, std::size_t size) {
    constexpr std::size_t kLength = mcu_frame::kReceiveLength;
    std::unique_ptr<unsigned char[]> frame(new unsigned char[kLength]());
    std::copy(data, data + std::min(size, kLength), frame.get());
    return frame;
}

template <class Response, class Value>
void parse(const unsigned char* frame, Value (Response::*decoded)() const,
           const std::optional<Value>& expected) {
    Response response;
    require(response.parseCommand(frame) == expected.has_value(),
            "a decoder takes its own answers and no others");
    require((response.*decoded)() == expected.value_or(Value{}),
            "a decoder tells what the frame says");
}

template <class Number>
std::optional<Number> numberOf(const std::optional<std::string>& byte) {
    if (!byte) {
        return std::nullopt;
    }
    return static_cast<Number>(static_cast<unsigned char>(byte->front()));
}

// What is not decoded is refused, and so is nothing at all.
void parseOther(const unsigned char* frame) {
    constexpr int kFirstId = 20998;
    constexpr int kLastId = 21011;
    for (int id = kFirstId; id <= kLastId; ++id) {
        const SafePointer<MCUCommand> response = createRespCommand(id);
        (void)response->parseCommand(frame);
        require(!response->parseCommand(nullptr), "nothing is no answer");
    }
    MCURebootRespCommand reboot;
    require(!reboot.parseCommand(frame), "the answer to a reboot is never decoded");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    const std::unique_ptr<unsigned char[]> frame = frameOf(data, size);
    const std::string bytes(frame.get(), frame.get() + mcu_frame::kReceiveLength);
    parse(frame.get(), &MCUVersionRespCommand::getVersion, versionIn(bytes));
    parse(frame.get(), &MCUHardwareInfoRespCommand::getHardwareInfo, hardwareIn(bytes));
    parse(frame.get(), &MCUStateRespCommand::getState, numberOf<std::uint32_t>(stateIn(bytes)));
    parse(frame.get(), &MCUUpdateRespCommand::getResult,
          numberOf<std::uint8_t>(permissionIn(bytes)));
    parseOther(frame.get());
    return 0;
}
