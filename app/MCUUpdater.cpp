#include "app/MCUUpdater.h"

#include <array>
#include <cstdio>

#include "app/UpdateRules.h"
#include "mcu/UpdateNote.h"
#include "mcu/XmodemSender.h"
#include "technic/SourceLocation.h"
#include "technic/TimeUtil.h"
#include "technic/TrackedAlloc.h"

namespace {

constexpr int kAttempts = 10;
constexpr int kBootRounds = 5;
constexpr unsigned kBootState = 1;
constexpr long kBootWaitSeconds = 1;
constexpr long kKeeperPeriodSeconds = 2;
constexpr unsigned kWorkerTimeoutSeconds = 300;
constexpr int kXmodemTimeoutSeconds = 15;

// Tries up to ten times until it succeeds.
template <class Attempt>
bool tryTenTimes(Attempt attempt) {
    for (int count = 0; count < kAttempts; ++count) {
        if (attempt()) {
            return true;
        }
    }
    return false;
}

int noWork() {
    return 0;
}

void logHardware(const char* format, const std::string& text) {
    std::array<char, 256> message{};
    (void)std::snprintf(message.data(), message.size(), format, text.c_str());
    UpdateNote::log(message.data());
}

}  // namespace

MCUUpdater::MCUUpdater()
    : m_worker(new (KD_HERE)
                   GThread(bind_funcobj0<int, MCUUpdater>(this, &MCUUpdater::keepUploadStopped),
                           "doCycleWorks", noWork, noWork)) {
    m_worker->setTimeout(kWorkerTimeoutSeconds);
}

void MCUUpdater::setEntry(const PreparedEntry& entry) {
    m_entry = entry;
    m_controler.setTarget(entry.armType);
}

void MCUUpdater::setDeviceName(const std::string& name) {
    m_strDeviceName = name;
    m_controler.setDeviceName(name);
}

void MCUUpdater::setParam(int baudrate, int databits, int stopbits, int parity) {
    m_nBaudrate = baudrate;
    m_nDatabits = databits;
    m_nStopbits = stopbits;
    m_nParity = parity;
    m_controler.setParam(baudrate, databits, stopbits, parity);
}

void MCUUpdater::setTimeout(int seconds) {
    m_nTimeout = seconds;
    m_controler.setTimeout(seconds);
}

int MCUUpdater::update() {
    if (!m_controler.open()) {
        return 0;
    }
    sleepFor(m_nTimeout, 0);
    const int result = runSequence();
    startUpload();
    m_controler.close();
    return result;
}

int MCUUpdater::runSequence() {
    cleanBuffer();
    if (!getHardwareInfo() || !checkHardware() || !getVersion()) {
        return 0;
    }
    if (!checkNeedUpdate()) {
        return 1;
    }
    if (!setToBoot() || !getUpdateSignal()) {
        return 0;
    }
    leaveLine();
    return sendByXmodem() ? 1 : 0;
}

void MCUUpdater::cleanBuffer() {
    UpdateNote::log("MCUUpdater clean Buffer....\n");
    (void)m_worker->start();  // without it the sequence can still succeed
    (void)m_controler.stopUpload();
    (void)m_controler.clearRecvBuffer();
}

bool MCUUpdater::getHardwareInfo() {
    UpdateNote::log("MCUUpdater get HardwareInfo....\n");
    return tryTenTimes([this] {
        (void)m_controler.stopUpload();
        return m_controler.getHardwareInfo(m_hardwareInfo);
    });
}

bool MCUUpdater::checkHardware() const {
    logHardware("Cur HardwareInfo: %s\n", m_hardwareInfo);
    logHardware("Update HardwareInfo: %s\n", m_entry.fileHardware);
    return update_rules::isSameHardware(m_hardwareInfo, m_entry.fileHardware,
                                        m_entry.hardwareInfoMask);
}

bool MCUUpdater::getVersion() {
    UpdateNote::log("MCUUpdater get Version....\n");
    return tryTenTimes([this] { return m_controler.getVersion(m_version); });
}

bool MCUUpdater::checkNeedUpdate() const {
    UpdateNote::log("MCUUpdater check need update....\n");
    const bool needed = update_rules::needsUpdate(m_version, m_entry.fileVersion,
                                                  m_entry.ForceUpdate, m_entry.HigherVersion);
    std::array<char, 256> message{};
    (void)std::snprintf(message.data(), message.size(),
                        "Cur FileVer: %s   Update FileVer: %s  ForceUpdate=%d HigherVer=%d\n",
                        m_version.c_str(), m_entry.fileVersion.c_str(), m_entry.ForceUpdate ? 1 : 0,
                        m_entry.HigherVersion ? 1 : 0);
    UpdateNote::log(message.data());
    if (!needed) {
        UpdateNote::log("Do not need update....\n");
    }
    return needed;
}

bool MCUUpdater::setToBoot() {
    UpdateNote::log("MCUUpdater set MCU to boot....\n");
    for (int round = 0; round < kBootRounds; ++round) {
        bool inBootState = false;
        if (!bootRound(inBootState)) {
            return false;
        }
        if (inBootState) {
            return true;
        }
    }
    return false;
}

// One question for the state and, unless it is the boot state, one order to enter it. False when
// the MCU does not answer or cannot be ordered.
bool MCUUpdater::bootRound(bool& inBootState) {
    unsigned state = 0;
    if (!tryTenTimes([&] { return m_controler.getState(state); })) {
        std::puts("can not getMCUState!");
        return false;
    }
    inBootState = state == kBootState;
    if (inBootState) {
        return true;
    }
    std::puts("Not boot state. retry. (wait 1s) ");
    sleepFor(kBootWaitSeconds, 0);
    if (!tryTenTimes([this] { return m_controler.setToBoot(); })) {
        return false;
    }
    sleepFor(kBootWaitSeconds, 0);
    return true;
}

bool MCUUpdater::getUpdateSignal() {
    UpdateNote::log("MCUUpdater get update signal....\n");
    unsigned char permission = 0;
    return tryTenTimes([&] { return m_controler.update(permission); }) && permission != 0;
}

// From here on nothing else may write to the line.
void MCUUpdater::leaveLine() {
    m_controler.close();
    (void)m_worker->stop();
}

bool MCUUpdater::sendByXmodem() const {
    UpdateNote::log("MCUUpdater X modem start....\n");
    XmodemSender sender;
    sender.setTimeout(kXmodemTimeoutSeconds);
    if (!sender.open(m_strDeviceName)) {
        // It is the device that did not open; the text is read by others and kept.
        UpdateNote::log("Open File Fail  \n");
        return false;
    }
    const bool sent = sender.setBaudrate(m_nBaudrate) && sender.setDatabits(m_nDatabits) &&
                      sender.setStopbits(m_nStopbits) && sender.setParity(m_nParity) &&
                      sender.sendFile(m_entry.filePath.c_str()) == 0;
    sender.close();
    return sent;
}

void MCUUpdater::startUpload() {
    (void)tryTenTimes([this] { return m_controler.startUpload(); });
}

// The worker's cycle; 0 asks for the next one.
int MCUUpdater::keepUploadStopped() {
    (void)m_controler.stopUpload();
    sleepFor(kKeeperPeriodSeconds, 0);
    return 0;
}
