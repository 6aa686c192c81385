#pragma once

#include <cstdint>
#include <string>

#include "mcu/MCUCommand.h"

// The responses, one class each. Only four are ever decoded; the others are there so that every id
// has an object.

// The firmware version: three numbers in decimal, written without a separator ("0512" for 0, 5,
// 12).
class MCUVersionRespCommand : public MCUCommand {
  public:
    MCUVersionRespCommand();
    bool parseCommand(const unsigned char* frame) override;
    // Empty before a frame was accepted.
    std::string getVersion() const { return m_strVersion; }

  private:
    std::string m_strVersion;
};

// The MCU's state.
class MCUStateRespCommand : public MCUCommand {
  public:
    MCUStateRespCommand();
    bool parseCommand(const unsigned char* frame) override;
    // The state byte; 1 is the boot state.
    std::uint32_t getState() const { return m_nState; }

  private:
    std::uint32_t m_nState = 0;
};

// Whether the MCU permits the update.
class MCUUpdateRespCommand : public MCUCommand {
  public:
    MCUUpdateRespCommand();
    bool parseCommand(const unsigned char* frame) override;
    // 1 when it does, 0 when it does not.
    std::uint8_t getResult() const { return m_nResult; }

  private:
    std::uint8_t m_nResult = 0;
};

// The hardware information: its bytes as two lower-case hexadecimal digits each.
class MCUHardwareInfoRespCommand : public MCUCommand {
  public:
    MCUHardwareInfoRespCommand();
    // Also false when the frame claims more bytes than a received frame has room for. A frame that
    // is accepted is appended to what was decoded before.
    bool parseCommand(const unsigned char* frame) override;
    std::string getHardwareInfo() const { return m_strHardwareInfo; }

  private:
    std::string m_strHardwareInfo;
};

// Stands for the answer to a reboot, and to a reset.
class MCURebootRespCommand : public MCUCommand {
  public:
    MCURebootRespCommand();
};

// Stands for the answer to a start-upload.
class MCUStartUploadRespCommand : public MCUCommand {
  public:
    MCUStartUploadRespCommand();
};

// Stands for the answer to a stop-upload.
class MCUStopUploadRespCommand : public MCUCommand {
  public:
    MCUStopUploadRespCommand();
};

// Stands for an id that no response has.
class MCUNullRespCommand : public MCUCommand {
  public:
    MCUNullRespCommand();
};
