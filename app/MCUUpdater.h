#pragma once

#include <string>

#include "app/PreparedEntry.h"
#include "mcu/MCUSessionControler.h"
#include "technic/GThread.h"
#include "technic/SafePointer.h"

// Brings one firmware file onto one MCU; made afresh for every attempt. While it asks the MCU, a
// worker thread keeps the MCU's uploads stopped. Set everything before update(). One thread.
class MCUUpdater {
  public:
    MCUUpdater();
    // Stops the worker if an attempt left it running.
    ~MCUUpdater() noexcept(false) = default;
    MCUUpdater(const MCUUpdater&) = delete;
    MCUUpdater& operator=(const MCUUpdater&) = delete;

    // The entry's armType becomes the target of every request.
    void setEntry(const PreparedEntry& entry);
    void setDeviceName(const std::string& name);
    void setParam(int baudrate, int databits, int stopbits, int parity);
    // Seconds: the wait after the line is opened, and for each answer of the MCU. 3 until set.
    void setTimeout(int seconds);

    // The whole attempt. Above 0 when the MCU has the file, or does not need it; 0 on failure.
    int update();

  private:
    int runSequence();

    void cleanBuffer();
    bool getHardwareInfo();
    bool checkHardware() const;
    bool getVersion();
    bool checkNeedUpdate() const;
    bool setToBoot();
    bool bootRound(bool& inBootState);
    bool getUpdateSignal();
    void leaveLine();
    bool sendByXmodem() const;
    void startUpload();

    int keepUploadStopped();

    std::string m_strDeviceName;
    int m_nBaudrate = 0;
    int m_nDatabits = 0;
    int m_nStopbits = 0;
    int m_nParity = 0;
    int m_nTimeout = 3;
    PreparedEntry m_entry;
    std::string m_hardwareInfo;
    std::string m_version;
    MCUSessionControler m_controler;
    // Uses the controller, and so goes before it.
    SafePointer<GThread> m_worker;
};
