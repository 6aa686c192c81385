#pragma once

// The numbers by which commands are asked for.
namespace mcu_command_id {

constexpr int kVersionReq = 20000;
constexpr int kStateReq = 20001;
constexpr int kRebootReq = 20002;
constexpr int kUpdateReq = 20003;
constexpr int kStartUploadReq = 20004;
constexpr int kStopUploadReq = 20005;
constexpr int kHardwareInfoReq = 20006;
constexpr int kSetToBootReq = 20007;
constexpr int kAlarmOffReq = 20008;
constexpr int kResetReq = 20009;
constexpr int kNullReq = 30000;

constexpr int kVersionResp = 21000;
constexpr int kStateResp = 21001;
constexpr int kRebootResp = 21002;
constexpr int kUpdateResp = 21003;
constexpr int kStartUploadResp = 21004;
constexpr int kStopUploadResp = 21005;
constexpr int kHardwareInfoResp = 21006;
constexpr int kResetResp = 21009;  // answered with a command whose own id is kRebootResp
constexpr int kNullResp = 30001;

}  // namespace mcu_command_id
