#pragma once

#include <cstdint>
#include <string>

#include "mcu/MCUCommand.h"
#include "mcu/MCUSession.h"
#include "technic/SafePointer.h"

// Speaks the command protocol with one MCU. Nothing is retried here, and the port stays open after
// a failure. Open before any operation.
//
// Driven by one thread; a second one may call the operations that only send. The session keeps
// their bytes and trace lines apart.
class MCUSessionControler {
  public:
    MCUSessionControler() = default;
    MCUSessionControler(const MCUSessionControler&) = delete;
    MCUSessionControler& operator=(const MCUSessionControler&) = delete;

    // As those of MCUSession.
    void setDeviceName(const std::string& name);
    void setParam(int baudrate, int databits, int stopbits, int parity);
    void setTimeout(int seconds);
    // The MCU that requests are meant for; 0 until set.
    void setTarget(int target);

    // Whether the line is open and set up.
    bool open();
    // Harmless when not open; also done when the controller is destroyed.
    void close();

    // Builds the request of that id and sends it. False when there is no such request or the write
    // failed.
    bool communicate(int requestId);

    // Collects bytes into frames until one is the expected response, which then takes the place of
    // the object that `response` holds. False when a read brings nothing in time or fails, or when
    // a frame is longer than mcu_frame::kReceiveLength bytes; `response` is unchanged then.
    bool recvCommand(SafePointer<MCUCommand>& response, int responseId);

    // Send one request and read nothing. Whether it was sent.
    bool reset();
    bool reboot();
    bool stopUpload();
    bool startUpload();
    bool setToBoot();

    // Send one request and await its response; the output is set on success only.
    bool getHardwareInfo(std::string& hardwareInfo);
    bool getState(unsigned& state);
    // 1 when the MCU permits the update, 0 when it does not.
    bool update(unsigned char& result);
    bool getVersion(std::string& version);

    // Discards what the MCU sends until it is silent for one read or a read fails; that read's
    // result, 0 or negative. A line that never falls silent keeps it going.
    int clearRecvBuffer();

  private:
    template <class Response, class Value>
    bool query(int requestId, int responseId, Value (Response::*decoded)() const, Value& value);

    std::string m_strDeviceName;
    std::int32_t m_nBaudrate = 0;
    std::int32_t m_nDatabits = 0;
    std::int32_t m_nStopbits = 0;
    std::int32_t m_nParity = 0;
    std::int32_t m_nTimeout = 3;
    MCUSession m_session;
    std::int32_t m_nTarget = 0;
};
