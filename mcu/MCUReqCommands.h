#pragma once

#include "mcu/MCUCommand.h"

// The requests, one class each. createCommand builds the frame with the target that is set at that
// moment, where the request carries one.

// The shapes that the requests have.
class MCUReqCommand : public MCUCommand {
  protected:
    // Payload: group, code, 1, low byte of the target.
    bool makeTargetFrame(unsigned char group, unsigned char code);
    // Payload: group, code, 1, 0. The target is left out.
    bool makeZeroFrame(unsigned char group, unsigned char code);
    // Payload: 01 10 04 00 `kind` 00 00.
    bool makeResetFrame(unsigned char kind);
};

// Asks for the firmware version.
class MCUVersionReqCommand : public MCUReqCommand {
  public:
    MCUVersionReqCommand();
    bool createCommand() override;
};

// Asks whether the MCU is in boot state.
class MCUStateReqCommand : public MCUReqCommand {
  public:
    MCUStateReqCommand();
    bool createCommand() override;
};

// Reboots.
class MCURebootReqCommand : public MCUReqCommand {
  public:
    MCURebootReqCommand();
    bool createCommand() override;
};

// Asks for the permission to update.
class MCUUpdateReqCommand : public MCUReqCommand {
  public:
    MCUUpdateReqCommand();
    bool createCommand() override;
};

// Lets the MCU report on its own again.
class MCUStartUploadReqCommand : public MCUReqCommand {
  public:
    MCUStartUploadReqCommand();
    bool createCommand() override;
};

// Stops the MCU from reporting on its own.
class MCUStopUploadReqCommand : public MCUReqCommand {
  public:
    MCUStopUploadReqCommand();
    bool createCommand() override;
};

// Asks for the hardware information.
class MCUHardwareInfoReqCommand : public MCUReqCommand {
  public:
    MCUHardwareInfoReqCommand();
    bool createCommand() override;
};

// Puts the MCU into boot state.
class MCUSetToBootReqCommand : public MCUReqCommand {
  public:
    MCUSetToBootReqCommand();
    bool createCommand() override;
};

// Switches the alarm off.
class MCUAlarmOffReqCommand : public MCUReqCommand {
  public:
    MCUAlarmOffReqCommand();
    bool createCommand() override;
};

// Resets.
class MCUResetReqCommand : public MCUReqCommand {
  public:
    MCUResetReqCommand();
    bool createCommand() override;
};

// Stands for an id that no request has; it has no frame.
class MCUNullReqCommand : public MCUCommand {
  public:
    MCUNullReqCommand();
};
