#include "tests/faults/FaultyLine.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "simulator/mcu/Endpoint.h"

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

namespace {

constexpr std::uint8_t kAck = 0x06;

// The first of the two bytes of a block's check.
bool isCheckOfBlock(const std::string& name) {
    constexpr char kBlock[] = "tool:block#";
    constexpr char kPlace[] = ":1027";
    return name.compare(0, sizeof kBlock - 1, kBlock) == 0 &&
           name.compare(name.rfind(':'), std::string::npos, kPlace) == 0;
}

Bytes readAll(int descriptor) {
    Bytes bytes;
    std::array<std::uint8_t, 4096> chunk{};
    for (;;) {
        const ssize_t count = descriptor < 0 ? 0 : read(descriptor, chunk.data(), chunk.size());
        if (count <= 0) {
            return bytes;
        }
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + count);
    }
}

}  // namespace

FaultyLine::FaultyLine(const Options& mcus, const fs::path& device, const fs::path& terminals,
                       std::vector<LineFault> faults)
    : m_scale(mcus.timeScale), m_faults(std::move(faults)), m_terminal(device, terminals) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("there is no line to the MCUs to be had");
    }
    m_mcuEnd = FileDescriptor(ends[0]);
    m_mcus = std::make_unique<Simulator>(mcus, Endpoint::connected(ends[1]));
}

void FaultyLine::turn(milliseconds limit) {
    waitForBytes(limit);
    readTool();
    m_mcus->turn();
    readMcus();
    noticeWait();
    doWhatIsDue();
}

void FaultyLine::waitForBytes(milliseconds limit) const {
    const nanoseconds wait = std::min<nanoseconds>(limit, m_mcus->untilDue());
    const timespec time{0, static_cast<long>(wait.count() % nanoseconds(seconds(1)).count())};
    pollfd polled{m_terminal.descriptor(), POLLIN, 0};
    (void)ppoll(&polled, 1, &time, nullptr);  // what is there shows at the read
}

void FaultyLine::readTool() {
    for (const NamedByte& byte : m_names.fromTool(readAll(m_terminal.descriptor()))) {
        carry(From::Tool, byte);
    }
    handOverToMcus();
}

void FaultyLine::readMcus() {
    for (const std::uint8_t byte : readAll(m_mcuEnd.get())) {
        carry(From::Mcu, {byte, m_names.fromMcu()});
    }
}

void FaultyLine::noticeWait() {
    if (m_waitNoticed || Clock::now() - m_lastByte < real(kQuiet)) {
        return;
    }
    m_waitNoticed = true;
    const std::string event = "wait:" + (m_events.empty() ? "start" : m_events.back());
    for (const LineFault& fault : happenAt(event)) {
        break_(fault);
        Bytes noise;
        spoil(From::Mcu, fault, noise);
        deliver(From::Mcu, noise);
    }
}

void FaultyLine::doWhatIsDue() {
    const Clock::time_point now = Clock::now();
    if (!m_held.empty() && now >= m_heldUntil) {
        sendToTool(std::exchange(m_held, {}));
    }
    if (now >= m_plugAt) {
        m_plugAt = Clock::time_point::max();
        m_terminal.plug();
    }
}

void FaultyLine::carry(From from, const NamedByte& byte) {
    m_lastByte = Clock::now();
    m_waitNoticed = false;
    Bytes bytes{byte.value};
    for (const LineFault& fault : happenAt(byte.name)) {
        handOverToMcus();
        break_(fault);
        spoil(from, fault, bytes);
    }
    if (m_garbling && isCheckOfBlock(byte.name)) {
        alter({FaultKind::Flip, 0, ""}, bytes);
    }
    deliver(from, bytes);
}

// The faults that come with this event. Each comes once.
std::vector<LineFault> FaultyLine::happenAt(const std::string& event) {
    const auto coming =
        std::stable_partition(m_faults.begin(), m_faults.end(),
                              [&event](const LineFault& fault) { return fault.event != event; });
    const std::vector<LineFault> now(coming, m_faults.end());
    if (!now.empty() && m_happened.empty()) {
        m_eventsBeforeFault = m_events.size();
        m_questionsBeforeFault = m_names.questions();
    }
    m_faults.erase(coming, m_faults.end());
    m_happened.insert(m_happened.end(), now.begin(), now.end());
    m_events.push_back(event);
    return now;
}

// What a fault does to the line, the MCUs and the tool.
void FaultyLine::break_(const LineFault& fault) {
    switch (fault.kind) {
        case FaultKind::Delay:
            m_heldUntil = Clock::now() + real(seconds(fault.parameter));
            break;
        case FaultKind::Garble:
            m_garbling = true;
            break;
        case FaultKind::Silence:
            m_silent = true;
            break;
        case FaultKind::PowerCycle:
            m_mcus->powerCycle();
            break;
        case FaultKind::Kill:
            m_killWanted = true;
            m_silent = true;
            break;
        case FaultKind::Unplug:
            if (m_terminal.isPlugged()) {
                m_terminal.unplug();
            }
            if (fault.parameter > 0) {
                m_plugAt = Clock::now() + real(seconds(fault.parameter));
            }
            break;
        default:
            break;
    }
}

// Alters the bytes at the fault's place, and notices what may pass for an acknowledgement.
void FaultyLine::spoil(From from, const LineFault& fault, Bytes& bytes) {
    const auto acknowledgements = [&bytes] { return std::count(bytes.begin(), bytes.end(), kAck); };
    const auto before = acknowledgements();
    alter(fault, bytes);
    if (from == From::Mcu && m_names.inTransfer() &&
        (acknowledgements() > before || fault.kind == FaultKind::Delay)) {
        m_acknowledgementForged = true;
    }
}

// What a fault does to the bytes at its place.
void FaultyLine::alter(const LineFault& fault, Bytes& bytes) {
    switch (fault.kind) {
        case FaultKind::Drop:
            bytes.clear();
            break;
        case FaultKind::Flip:
            for (std::uint8_t& byte : bytes) {
                byte = static_cast<std::uint8_t>(byte ^
                                                 (1U << static_cast<unsigned>(fault.parameter)));
            }
            break;
        case FaultKind::Replace:
            std::fill(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(fault.parameter));
            break;
        case FaultKind::Duplicate:
            bytes.insert(bytes.end(), bytes.begin(), bytes.end());
            break;
        case FaultKind::Noise: {
            const Bytes noise = noiseOf(fault);
            bytes.insert(bytes.begin(), noise.begin(), noise.end());
            break;
        }
        default:
            break;
    }
}

void FaultyLine::deliver(From from, const Bytes& bytes) {
    if (m_silent) {
        return;
    }
    if (from == From::Tool) {
        if (!m_terminal.isPlugged()) {
            return;
        }
        m_toMcus.insert(m_toMcus.end(), bytes.begin(), bytes.end());
        return;
    }
    if (!m_held.empty() || Clock::now() < m_heldUntil) {
        m_held.insert(m_held.end(), bytes.begin(), bytes.end());
        return;
    }
    sendToTool(bytes);
}

void FaultyLine::sendToTool(const Bytes& bytes) {
    if (m_silent || !m_terminal.isPlugged() || bytes.empty()) {
        return;
    }
    (m_names.inTransfer() ? m_transferBytes : m_sessionBytes) += static_cast<long>(bytes.size());
    (void)!write(m_terminal.descriptor(), bytes.data(), bytes.size());  // a line waits for nobody
}

void FaultyLine::handOverToMcus() {
    if (m_toMcus.empty()) {
        return;
    }
    if (write(m_mcuEnd.get(), m_toMcus.data(), m_toMcus.size()) !=
        static_cast<ssize_t>(m_toMcus.size())) {
        throw std::runtime_error("the MCUs do not take what the tool sent");
    }
    m_toMcus.clear();
    m_mcus->turn();
}

void FaultyLine::lift() {
    m_faults.clear();
    m_silent = false;
    m_garbling = false;
    m_killWanted = false;
    m_names.forgetUnfinished();
    m_plugAt = Clock::time_point::max();
    if (!m_terminal.isPlugged()) {
        m_terminal.plug();
    }
}

std::size_t FaultyLine::eventsBeforeFault() const {
    return m_happened.empty() ? m_events.size() : m_eventsBeforeFault;
}

const std::vector<std::string>& FaultyLine::questionsBeforeFault() const {
    return m_happened.empty() ? m_names.questions() : m_questionsBeforeFault;
}

FaultyLine::Clock::duration FaultyLine::real(nanoseconds device) const {
    return std::chrono::duration_cast<Clock::duration>(device / m_scale);
}
