#include "simulator/mcu/Mcu.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

constexpr std::uint8_t kStateApplication = 0;
constexpr std::uint8_t kStateBoot = 1;
constexpr std::uint8_t kAccepted = 0;
constexpr std::uint8_t kRefused = 1;

Bytes readImage(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    Bytes image{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in) {
        throw std::runtime_error(fmt::format("{}: the image cannot be read", path));
    }
    return image;
}

bool isQuestion(RequestKind kind) {
    return kind == RequestKind::Version || kind == RequestKind::State ||
           kind == RequestKind::Hardware || kind == RequestKind::Update;
}

// Orders that a host may give while it waits for a reception to begin.
bool leavesTransferAlone(RequestKind kind) {
    return kind == RequestKind::StopUpload || kind == RequestKind::StartUpload ||
           kind == RequestKind::AlarmOff;
}

const char* replyMeaning(RequestKind kind) {
    switch (kind) {
        case RequestKind::Version:
            return "version reply";
        case RequestKind::State:
            return "state reply";
        case RequestKind::Hardware:
            return "hardware reply";
        default:
            return "update reply";
    }
}

}  // namespace

Mcu::Mcu(const McuSettings& settings, const std::string& storeDirectory, FaultScript& script,
         McuPort& port, Time now)
    : m_settings(settings),
      m_script(script),
      m_port(port),
      m_store(storeDirectory, settings.name),
      m_telemetry(settings.telemetry) {
    if (!settings.receiver.command.empty() && storeDirectory.empty()) {
        throw std::runtime_error(fmt::format("{}: a receiver needs the option --store", name()));
    }
    if (!settings.image.empty()) {
        install(readImage(settings.image), false, settings.image);
    }
    if (settings.startsInBoot || !m_applicationIsValid) {
        m_state = State::Boot;
    } else {
        runApplication(now);
    }
}

bool Mcu::isMeantBy(const Request& request) const {
    return !request.target || *request.target == m_settings.target;
}

bool Mcu::hears(Time now) const {
    return (m_state == State::Application || m_state == State::Boot) && now >= m_silentUntil;
}

void Mcu::onRequest(RequestKind kind, Time now) {
    wakeWhenDue(now);
    m_lostTransfer = false;
    const bool startingImage = m_transfer && m_transfer->isComplete();
    if (!hears(now) || startingImage) {
        return;
    }
    const std::vector<Fault> faults = m_script.occur(eventName(kind), name());
    if (interrupted(faults, eventName(kind), now)) {
        return;
    }
    if (isReceiving() && !leavesTransferAlone(kind)) {
        endTransfer("the host asks again");
    }
    if (isQuestion(kind)) {
        const Bytes reply = replyTo(kind, faults, now);
        answer(replyMeaning(kind), reply, replyDetail(kind), faults, now);
        return;
    }
    answer("", {}, "", faults, now);
    obey(kind, faults, now);
}

void Mcu::onRequestToOther() {
    m_lostTransfer = false;
    if (m_program || (m_transfer && !m_transfer->isComplete())) {
        endTransfer("the host asks another MCU");
    }
}

// Faults that keep the MCU from seeing the event at all.
bool Mcu::interrupted(const std::vector<Fault>& faults, const std::string& event, Time now) {
    for (const Fault& fault : faults) {
        m_port.note(name(), "fault", fault.name + " on " + event);
        switch (fault.action) {
            case FaultAction::Ignore:
                return true;
            case FaultAction::Silent:
                m_silentUntil = fault.duration == kNever ? kNever : now + fault.duration;
                return true;
            case FaultAction::Vanish:
                m_lostTransfer = isReceiving();
                endTransfer("the MCU is gone");
                m_telemetry.end();
                m_state = State::Off;
                m_wakeAt = fault.duration == kNever ? kNever : now + fault.duration;
                m_wakesInBoot = false;
                return true;
            case FaultAction::PowerCycle:
                powerCycle(now);
                return true;
            default:
                break;
        }
    }
    return false;
}

void Mcu::powerCycle(Time now) {
    m_lostTransfer = isReceiving();
    endTransfer("power cycle");
    restart(false, now);
}

void Mcu::obey(RequestKind kind, const std::vector<Fault>& faults, Time now) {
    switch (kind) {
        case RequestKind::SetToBoot:
            if (m_state == State::Application &&
                findFault(faults, FaultAction::NoBoot) == nullptr) {
                restart(true, now);
            }
            break;
        case RequestKind::Reboot:
        case RequestKind::Reset:
            restart(false, now);
            break;
        case RequestKind::StopUpload:
            m_telemetry.stopUpload(now);
            break;
        case RequestKind::StartUpload:
            m_telemetry.startUpload(now);
            break;
        default:
            break;
    }
}

Bytes Mcu::replyTo(RequestKind kind, const std::vector<Fault>& faults, Time now) {
    const Bytes permitted = kind == RequestKind::Update ? permission(faults, now) : Bytes();
    if (const Fault* wrong = findFault(faults, FaultAction::Wrong)) {
        return replyWithData(kind, wrong->bytes);
    }
    switch (kind) {
        case RequestKind::Version:
            return versionReply(m_settings.version);
        case RequestKind::State:
            return stateReply(m_state == State::Boot ? kStateBoot : kStateApplication);
        case RequestKind::Hardware:
            return hardwareReply(m_settings.hardware);
        default:
            return permitted;
    }
}

std::string Mcu::replyDetail(RequestKind kind) const {
    switch (kind) {
        case RequestKind::Version:
            return versionText();
        case RequestKind::State:
            return stateText();
        case RequestKind::Hardware:
            return toHex(m_settings.hardware);
        default:
            return isReceiving() ? "accepted" : "refused";
    }
}

// Permission to update; with it, the reception of the image begins.
Bytes Mcu::permission(const std::vector<Fault>& faults, Time now) {
    if (m_state != State::Boot || findFault(faults, FaultAction::Refuse) != nullptr) {
        return updateReply(kRefused);
    }
    if (m_settings.receiver.command.empty()) {
        m_transfer.emplace(m_settings.xmodem, m_statistics, now);
    } else {
        m_program.emplace(m_settings.receiver, m_store.pathOfReception(), now);
        ++m_statistics.transfers;
    }
    m_port.note(name(), "transfer begins", "");
    return updateReply(kAccepted);
}

void Mcu::answer(const char* meaning, const Bytes& bytes, const std::string& detail,
                 const std::vector<Fault>& faults, Time now) {
    Outgoing outgoing;
    outgoing.mcu = name();
    outgoing.meaning = meaning;
    outgoing.detail = detail;
    outgoing.bytes = bytes;
    for (Outgoing& part : underFaults(outgoing, faults, now)) {
        m_port.transmit(std::move(part));
    }
}

void Mcu::onTime(Time now) {
    wakeWhenDue(now);
    if (m_program) {
        attendProgram(now);
    }
    if (now < m_silentUntil) {
        return;
    }
    if (now >= m_transferEnd) {
        m_transferEnd = kNever;
        m_transfer.reset();
        m_wakesInBoot = false;
        wake(now);
        return;
    }
    if (m_transfer) {
        sendDueTransferByte(now);
    }
    if (m_telemetry.take(now) && !m_port.transferUnderWay()) {
        const std::vector<Fault> faults = m_script.occur("telemetry", name());
        if (!interrupted(faults, "telemetry", now)) {
            answer("telemetry", m_telemetry.content(), "", faults, now);
        }
    }
}

Time Mcu::nextDeadline() const {
    Time next = std::min(m_telemetry.next(), m_transferEnd);
    if (m_transfer) {
        next = std::min(next, m_transfer->nextDeadline());
    }
    next = std::min(std::max(next, m_silentUntil), m_wakeAt);
    return m_program ? std::min(next, m_program->nextDeadline()) : next;
}

std::size_t Mcu::receivedBytes() const {
    if (m_program) {
        return m_program->acknowledgedBytes();
    }
    return m_transfer ? m_transfer->image().size() : 0;
}
