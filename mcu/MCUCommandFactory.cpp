#include "mcu/MCUCommandFactory.h"

#include "mcu/MCUCommandId.h"
#include "mcu/MCUReqCommands.h"
#include "mcu/MCURespCommands.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

namespace {

template <class Command>
MCUCommand* make() {
    return new (KD_HERE) Command;
}

struct Row {
    int id;
    MCUCommand* (*make)();
};

constexpr Row kRequests[] = {
    {mcu_command_id::kVersionReq, make<MCUVersionReqCommand>},
    {mcu_command_id::kStateReq, make<MCUStateReqCommand>},
    {mcu_command_id::kRebootReq, make<MCURebootReqCommand>},
    {mcu_command_id::kUpdateReq, make<MCUUpdateReqCommand>},
    {mcu_command_id::kStartUploadReq, make<MCUStartUploadReqCommand>},
    {mcu_command_id::kStopUploadReq, make<MCUStopUploadReqCommand>},
    {mcu_command_id::kHardwareInfoReq, make<MCUHardwareInfoReqCommand>},
    {mcu_command_id::kSetToBootReq, make<MCUSetToBootReqCommand>},
    {mcu_command_id::kAlarmOffReq, make<MCUAlarmOffReqCommand>},
    {mcu_command_id::kResetReq, make<MCUResetReqCommand>},
};

constexpr Row kResponses[] = {
    {mcu_command_id::kVersionResp, make<MCUVersionRespCommand>},
    {mcu_command_id::kStateResp, make<MCUStateRespCommand>},
    {mcu_command_id::kRebootResp, make<MCURebootRespCommand>},
    {mcu_command_id::kUpdateResp, make<MCUUpdateRespCommand>},
    {mcu_command_id::kStartUploadResp, make<MCUStartUploadRespCommand>},
    {mcu_command_id::kStopUploadResp, make<MCUStopUploadRespCommand>},
    {mcu_command_id::kHardwareInfoResp, make<MCUHardwareInfoRespCommand>},
    {mcu_command_id::kResetResp, make<MCURebootRespCommand>},
};

template <class NullCommand, std::size_t rowCount>
SafePointer<MCUCommand> create(const Row (&rows)[rowCount], int id) {
    for (const Row& row : rows) {
        if (row.id == id) {
            return row.make();
        }
    }
    return make<NullCommand>();
}

}  // namespace

SafePointer<MCUCommand> createReqCommand(int id) {
    return create<MCUNullReqCommand>(kRequests, id);
}

SafePointer<MCUCommand> createRespCommand(int id) {
    return create<MCUNullRespCommand>(kResponses, id);
}
