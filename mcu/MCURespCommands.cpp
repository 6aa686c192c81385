#include "mcu/MCURespCommands.h"

#include <array>
#include <cstdio>

#include "mcu/MCUCommandId.h"

namespace {

constexpr int kLengthPosition = 3;
constexpr int kDataPosition = mcu_frame::kHeaderLength;
constexpr int kMostData = mcu_frame::kReceiveLength - mcu_frame::kHeaderLength;

bool isResponse(const unsigned char* frame, unsigned char group, unsigned char code) {
    return frame != nullptr && frame[0] == mcu_frame::kStart && frame[1] == group &&
           frame[2] == code;
}

bool isResponse(const unsigned char* frame, unsigned char group, unsigned char code,
                unsigned char dataLength) {
    return isResponse(frame, group, code) && frame[kLengthPosition] == dataLength;
}

}  // namespace

MCUVersionRespCommand::MCUVersionRespCommand() {
    m_nCommandId = mcu_command_id::kVersionResp;
}

bool MCUVersionRespCommand::parseCommand(const unsigned char* frame) {
    if (!isResponse(frame, 0x06, 0x02, 3)) {
        return false;
    }
    const unsigned char* data = frame + kDataPosition;
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "%d%d%d", data[0], data[1], data[2]);
    m_strVersion = text.data();
    return true;
}

MCUStateRespCommand::MCUStateRespCommand() {
    m_nCommandId = mcu_command_id::kStateResp;
}

bool MCUStateRespCommand::parseCommand(const unsigned char* frame) {
    if (!isResponse(frame, 0x05, 0x02, 1)) {
        return false;
    }
    m_nState = frame[kDataPosition];
    return true;
}

MCUUpdateRespCommand::MCUUpdateRespCommand() {
    m_nCommandId = mcu_command_id::kUpdateResp;
}

bool MCUUpdateRespCommand::parseCommand(const unsigned char* frame) {
    if (!isResponse(frame, 0x05, 0x06, 1)) {
        return false;
    }
    m_nResult = frame[kDataPosition] == 0 ? 1 : 0;
    return true;
}

MCUHardwareInfoRespCommand::MCUHardwareInfoRespCommand() {
    m_nCommandId = mcu_command_id::kHardwareInfoResp;
}

bool MCUHardwareInfoRespCommand::parseCommand(const unsigned char* frame) {
    if (!isResponse(frame, 0x06, 0x0C) || frame[kLengthPosition] > kMostData) {
        return false;
    }
    const int count = frame[kLengthPosition];
    for (int i = 0; i < count; ++i) {
        std::array<char, 4> digits{};
        (void)std::snprintf(digits.data(), digits.size(), "%02x", frame[kDataPosition + i]);
        m_strHardwareInfo += digits.data();
    }
    return true;
}

MCURebootRespCommand::MCURebootRespCommand() {
    m_nCommandId = mcu_command_id::kRebootResp;
}

MCUStartUploadRespCommand::MCUStartUploadRespCommand() {
    m_nCommandId = mcu_command_id::kStartUploadResp;
}

MCUStopUploadRespCommand::MCUStopUploadRespCommand() {
    m_nCommandId = mcu_command_id::kStopUploadResp;
}

MCUNullRespCommand::MCUNullRespCommand() {
    m_nCommandId = mcu_command_id::kNullResp;
}
