#pragma once

#include <nlohmann/json.hpp>
#include <optional>

#include "simulator/mcu/CommandSet.h"
#include "simulator/mcu/FaultScript.h"
#include "simulator/mcu/ImageStore.h"
#include "simulator/mcu/LineDecoder.h"
#include "simulator/mcu/McuSettings.h"
#include "simulator/mcu/Outgoing.h"
#include "simulator/mcu/ProgramReception.h"
#include "simulator/mcu/Telemetry.h"

// What an MCU uses of its surroundings.
class McuPort {
  public:
    virtual ~McuPort() = default;
    // Puts something on the line.
    virtual void transmit(Outgoing outgoing) = 0;
    // Something happened inside the MCU, for the transcript.
    virtual void note(const std::string& mcu, const std::string& meaning,
                      const std::string& detail) = 0;
    // Whether any MCU of the line is receiving an image, so that nobody else may talk.
    virtual bool transferUnderWay() const = 0;
};

// One microcontroller behind the line: its application, its boot loader and its flash.
class Mcu {
  public:
    // The script and the port must outlive the MCU. Throws std::runtime_error when the initial
    // image cannot be read.
    Mcu(const McuSettings& settings, const std::string& storeDirectory, FaultScript& script,
        McuPort& port, Time now);

    const std::string& name() const { return m_settings.name; }
    bool isMeantBy(const Request& request) const;
    // A request for this MCU, or for all.
    void onRequest(RequestKind kind, Time now);
    // The host asks somebody else: if it was sending an image to this MCU it has given up.
    void onRequestToOther();
    // Something of an XMODEM transfer came over the line while receives() was true.
    void onTransferItem(const LineItem& item, Time now);
    // Part of something unfinished came over the line while receives() was true.
    void onPartOfBlock(Time now);
    // The power goes and comes back: all that was under way is forgotten.
    void powerCycle(Time now);
    // The host's bytes as they come, whatever they are part of.
    void onBytes(const std::uint8_t* bytes, std::size_t length, Time now);
    // Does what is due at this moment; to be called at nextDeadline() at the latest.
    void onTime(Time now);
    Time nextDeadline() const;
    // Something is also due when one of these is readable; -1 stands for none.
    std::vector<int> descriptors() const;

    // The bytes on the line are blocks for this MCU.
    bool receives() const { return isReceiving() || m_lostTransfer; }
    // How many bytes of the present transfer are accepted.
    std::size_t receivedBytes() const;
    // What the state report says of this MCU.
    nlohmann::json report() const;

  private:
    enum class State { Application, Boot, Restarting, Off };

    bool hears(Time now) const;
    bool isReceiving() const { return m_transfer || m_program; }
    bool interrupted(const std::vector<Fault>& faults, const std::string& event, Time now);
    void obey(RequestKind kind, const std::vector<Fault>& faults, Time now);
    Bytes replyTo(RequestKind kind, const std::vector<Fault>& faults, Time now);
    std::string replyDetail(RequestKind kind) const;
    Bytes permission(const std::vector<Fault>& faults, Time now);
    void answer(const char* meaning, const Bytes& bytes, const std::string& detail,
                const std::vector<Fault>& faults, Time now);
    void answerTransfer(const char* event, std::uint8_t byte, const std::vector<Fault>& faults,
                        Time now);
    void eraseForNewImage();
    void storeReceived(const Bytes& image);
    void refuseOne(Time now);
    bool refusedByFault(const std::vector<Fault>& faults, Time now);
    void onBlock(const Bytes& block, Time now);
    void onEot(Time now);
    void sendDueTransferByte(Time now);
    void endTransfer(const std::string& why);
    bool hostReachesProgram() const;
    void passToProgram(std::uint8_t byte, Time now);
    void attendProgram(Time now);
    void passToHost(std::uint8_t byte, Time now);
    void onAcknowledged(const HostUnit& block);
    void releaseHeldAnswer(Time now);
    void endOfProgram(int status, Time now);
    void runApplication(Time now);
    void restart(bool intoBoot, Time now);
    void install(const Bytes& image, bool stored, const std::string& file);
    void wakeWhenDue(Time now);
    void wake(Time now);
    std::string versionText() const;
    std::string stateText() const;

    McuSettings m_settings;
    FaultScript& m_script;
    McuPort& m_port;
    ImageStore m_store;
    Telemetry m_telemetry;
    XmodemStatistics m_statistics;
    int m_imagesReceived = 0;
    bool m_applicationIsValid = true;
    State m_state = State::Application;
    bool m_wakesInBoot = false;
    Time m_wakeAt = kNever;  // end of Restarting or Off
    Time m_silentUntil{0};
    Time m_transferEnd = kNever;  // when the boot loader starts the image that is complete
    bool m_lostTransfer = false;  // vanished while the host was sending blocks
    std::optional<XmodemReceiver> m_transfer;
    std::optional<ProgramReception> m_program;  // in place of m_transfer
};
