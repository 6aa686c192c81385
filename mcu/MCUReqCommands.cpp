#include "mcu/MCUReqCommands.h"

#include "mcu/MCUCommandId.h"

bool MCUReqCommand::makeTargetFrame(unsigned char group, unsigned char code) {
    const unsigned char payload[] = {group, code, 1, static_cast<unsigned char>(m_nTarget)};
    return makeFrame(payload, sizeof payload);
}

bool MCUReqCommand::makeZeroFrame(unsigned char group, unsigned char code) {
    const unsigned char payload[] = {group, code, 1, 0};
    return makeFrame(payload, sizeof payload);
}

bool MCUReqCommand::makeResetFrame(unsigned char kind) {
    const unsigned char payload[] = {0x01, 0x10, 4, 0x00, kind, 0x00, 0x00};
    return makeFrame(payload, sizeof payload);
}

MCUVersionReqCommand::MCUVersionReqCommand() {
    m_nCommandId = mcu_command_id::kVersionReq;
}
bool MCUVersionReqCommand::createCommand() {
    return makeTargetFrame(0x06, 0x01);
}

MCUStateReqCommand::MCUStateReqCommand() {
    m_nCommandId = mcu_command_id::kStateReq;
}
bool MCUStateReqCommand::createCommand() {
    return makeTargetFrame(0x05, 0x01);
}

MCURebootReqCommand::MCURebootReqCommand() {
    m_nCommandId = mcu_command_id::kRebootReq;
}
bool MCURebootReqCommand::createCommand() {
    return makeResetFrame(0x0F);
}

MCUUpdateReqCommand::MCUUpdateReqCommand() {
    m_nCommandId = mcu_command_id::kUpdateReq;
}
bool MCUUpdateReqCommand::createCommand() {
    return makeTargetFrame(0x05, 0x05);
}

MCUStartUploadReqCommand::MCUStartUploadReqCommand() {
    m_nCommandId = mcu_command_id::kStartUploadReq;
}
bool MCUStartUploadReqCommand::createCommand() {
    return makeZeroFrame(0x05, 0x09);
}

MCUStopUploadReqCommand::MCUStopUploadReqCommand() {
    m_nCommandId = mcu_command_id::kStopUploadReq;
}
bool MCUStopUploadReqCommand::createCommand() {
    return makeZeroFrame(0x05, 0x07);
}

MCUHardwareInfoReqCommand::MCUHardwareInfoReqCommand() {
    m_nCommandId = mcu_command_id::kHardwareInfoReq;
}
bool MCUHardwareInfoReqCommand::createCommand() {
    return makeTargetFrame(0x06, 0x0B);
}

MCUSetToBootReqCommand::MCUSetToBootReqCommand() {
    m_nCommandId = mcu_command_id::kSetToBootReq;
}
bool MCUSetToBootReqCommand::createCommand() {
    return makeTargetFrame(0x05, 0x03);
}

MCUAlarmOffReqCommand::MCUAlarmOffReqCommand() {
    m_nCommandId = mcu_command_id::kAlarmOffReq;
}
bool MCUAlarmOffReqCommand::createCommand() {
    return makeZeroFrame(0x02, 0x06);
}

MCUResetReqCommand::MCUResetReqCommand() {
    m_nCommandId = mcu_command_id::kResetReq;
}
bool MCUResetReqCommand::createCommand() {
    return makeResetFrame(0x29);
}

MCUNullReqCommand::MCUNullReqCommand() {
    m_nCommandId = mcu_command_id::kNullReq;
}
