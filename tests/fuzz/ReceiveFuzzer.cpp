// The controller's reception of answers. Input: a byte that chooses the operation; the faults of
// the line as a text of its own (support/ScriptedLine.h); the rest is what the MCU sends.
#include <cstddef>
#include <optional>
#include <string>

#include "mcu/MCUCommandFactory.h"
#include "mcu/MCUCommandId.h"
#include "mcu/MCUSessionControler.h"
#include "mcu/UpdateNote.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/ReplyOracle.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/ScriptedLine.h"

namespace {

using Answer = std::optional<std::string>;

template <class Value>
Answer textOf(bool succeeded, const Value& value) {
    if (!succeeded) {
        return std::nullopt;
    }
    return std::string(1, static_cast<char>(value));
}

Answer askVersion(MCUSessionControler& controler) {
    std::string version;
    return controler.getVersion(version) ? Answer(version) : std::nullopt;
}

Answer askHardware(MCUSessionControler& controler) {
    std::string hardware;
    return controler.getHardwareInfo(hardware) ? Answer(hardware) : std::nullopt;
}

Answer askState(MCUSessionControler& controler) {
    unsigned state = 0;
    const bool succeeded = controler.getState(state);
    return textOf(succeeded, state);
}

Answer askPermission(MCUSessionControler& controler) {
    unsigned char permission = 0;
    const bool succeeded = controler.update(permission);
    return textOf(succeeded, permission);
}

struct Query {
    Answer (*ask)(MCUSessionControler& controler);
    Decode decode;
};

constexpr Query kQueries[] = {{askVersion, versionIn},
                              {askHardware, hardwareIn},
                              {askState, stateIn},
                              {askPermission, permissionIn}};
constexpr unsigned char kQueryCount = sizeof kQueries / sizeof kQueries[0];
constexpr unsigned char kClearing = kQueryCount;

// Any id, those with no answer that can be decoded among them.
void receiveAny(MCUSessionControler& controler, int idOffset) {
    constexpr int kFirstId = 20998;
    SafePointer<MCUCommand> response = createRespCommand(mcu_command_id::kNullResp);
    const bool isReceived = controler.recvCommand(response, kFirstId + idOffset);
    require(isReceived || response->getCommandId() == mcu_command_id::kNullResp,
            "the caller's object stays when nothing is received");
}

void runOperation(MCUSessionControler& controler, unsigned char operation, const Answer* expected) {
    if (operation < kQueryCount) {
        const Answer answer = kQueries[operation].ask(controler);
        require(expected == nullptr || answer == *expected,
                "a query finds the first answer of its kind");
    } else if (operation == kClearing) {
        require(controler.clearRecvBuffer() <= 0, "the line is cleared until it is silent");
    } else {
        receiveAny(controler, operation - kClearing);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    const auto operation = static_cast<unsigned char>(input.byte() % 20);
    const std::string faults = input.text();
    const std::string replies = input.rest();
    UpdateNote::remove();
    ScriptedLine line({faults, replies});
    MCUSessionControler controler;
    controler.setDeviceName(ScriptedLine::kPath);
    controler.setParam(115200, 8, 0, 0);
    require(controler.open(), "the line opens");
    Answer expected;
    if (operation < kQueryCount) {
        expected = firstAnswer(replies, kQueries[operation].decode);
    }
    runOperation(controler, operation, faults.empty() ? &expected : nullptr);
    return 0;
}
