#include "simulator/mcu/Simulator.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "simulator/mcu/AtomicFile.h"
#include "simulator/mcu/CommandSet.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

// Silence after which an unfinished frame or block stays unfinished, and silence that ends a
// damaged block: in the MCUs' time, but never less real time than a busy host may need between two
// bytes.
constexpr seconds kGap{1};
constexpr milliseconds kLeastRealGap{50};
constexpr milliseconds kPurge{100};
constexpr milliseconds kLeastRealPurge{10};
constexpr int kBitsPerByte = 10;
// Bytes of a paced line are moved in steps of this size, not one by one.
constexpr milliseconds kPacingStep{1};

std::unique_ptr<Endpoint> openEndpoint(const Options& options) {
    if (!options.unixPath.empty()) {
        return Endpoint::unixSocket(options.unixPath);
    }
    if (!options.tcpAddress.empty()) {
        return Endpoint::tcpSocket(options.tcpAddress);
    }
    if (!options.serialDevice.empty()) {
        return Endpoint::serialDevice(options.serialDevice, options.serialLine);
    }
    return Endpoint::pseudoTerminal(options.ptyLink);
}

nanoseconds byteTimeOf(long baud) {
    return baud == 0 ? nanoseconds(0) : nanoseconds(seconds(kBitsPerByte)) / baud;
}

const char* itemMeaning(LineItem::Type type) {
    switch (type) {
        case LineItem::Type::BadFrame:
            return "bad frame";
        case LineItem::Type::DamagedBlock:
            return "damaged block";
        case LineItem::Type::Eot:
            return "EOT";
        case LineItem::Type::Can:
            return "CAN";
        default:
            return "noise";
    }
}

}  // namespace

Simulator::Simulator(const Options& options) : Simulator(options, openEndpoint(options)) {}

Simulator::Simulator(const Options& options, std::unique_ptr<Endpoint> endpoint)
    : m_options(options),
      m_clock(options.timeScale),
      m_endpoint(std::move(endpoint)),
      m_decoder(std::max<Time>(kGap, m_clock.fromReal(kLeastRealGap)),
                std::max<Time>(kPurge, m_clock.fromReal(kLeastRealPurge))),
      m_input(*m_endpoint, m_clock.fromReal(byteTimeOf(options.baud))),
      m_output(*m_endpoint, m_clock.fromReal(byteTimeOf(options.baud))),
      m_transcript(options.transcript),
      m_live(options.live ? stdout : nullptr) {
    const SettingsFile config(options.config);
    const std::vector<McuSettings> all = readMcuSettings(config);
    std::vector<std::string> names;
    for (const McuSettings& settings : all) {
        names.push_back(settings.name);
    }
    if (!options.faults.empty()) {
        const SettingsFile faults(options.faults);
        m_script = FaultScript(faults, names);
    }
    McuPort& port = *this;
    for (const McuSettings& settings : all) {
        m_mcus.push_back(
            std::make_unique<Mcu>(settings, options.store, m_script, port, m_clock.now()));
    }
    writeState();
}

Simulator::~Simulator() = default;

void Simulator::run(const volatile std::sig_atomic_t& stop, const sigset_t& waitMask) {
    while (stop == 0) {
        wait(waitMask);
        act(m_clock.now());
    }
}

void Simulator::turn() {
    const Time now = m_clock.now();
    m_input.noteReadable(now);
    act(now);
}

void Simulator::act(Time now) {
    readLine(now);
    for (const auto& mcu : m_mcus) {
        mcu->onTime(now);
    }
    // The state is on record before the host can hear of it.
    writeState();
    writeLine(now);
}

nanoseconds Simulator::untilDue() const {
    const Time deadline = nextDeadline();
    return deadline == kNever ? nanoseconds::max() : m_clock.realUntil(deadline);
}

void Simulator::powerCycle() {
    m_decoder.clear();
    for (const auto& mcu : m_mcus) {
        mcu->powerCycle(m_clock.now());
    }
    writeState();
}

void Simulator::wait(const sigset_t& waitMask) {
    std::vector<pollfd> polled = {{m_endpoint->listener(), POLLIN, 0},
                                  {m_input.isWaiting() ? -1 : m_endpoint->descriptor(), POLLIN, 0}};
    for (const auto& mcu : m_mcus) {
        for (const int descriptor : mcu->descriptors()) {
            polled.push_back({descriptor, POLLIN, 0});
        }
    }
    timespec limit{};
    const timespec* limitOrNone = nullptr;
    const nanoseconds real = untilDue();
    if (real != nanoseconds::max()) {
        limit.tv_sec = static_cast<time_t>(real / seconds(1));
        limit.tv_nsec = static_cast<long>((real % seconds(1)).count());
        limitOrNone = &limit;
    }
    const int ready = ppoll(polled.data(), polled.size(), limitOrNone, &waitMask);
    if (ready < 0 && errno != EINTR) {
        throw std::runtime_error(fmt::format("ppoll: {}", std::strerror(errno)));
    }
    if (ready <= 0) {
        return;
    }
    if (polled[0].revents != 0) {
        m_endpoint->acceptPeer();
    }
    if (polled[1].revents != 0) {
        m_input.noteReadable(m_clock.now());
    }
}

Time Simulator::nextDeadline() const {
    Time next = m_decoder.nextDeadline();
    for (const auto& mcu : m_mcus) {
        next = std::min(next, mcu->nextDeadline());
    }
    const Time line = std::min(m_input.nextDeadline(), m_output.nextDeadline());
    if (line == kNever || m_options.baud == 0) {
        return std::min(next, line);
    }
    return std::min(next, std::max(line, m_clock.now() + m_clock.fromReal(kPacingStep)));
}

void Simulator::readLine(Time now) {
    m_input.read(m_decoder, now, [this, now](const std::uint8_t* bytes, std::size_t length) {
        for (const auto& mcu : m_mcus) {
            mcu->onBytes(bytes, length, now);
        }
    });
    while (const auto item = m_decoder.next(transferUnderWay(), now)) {
        onItem(*item, now);
    }
    Mcu* const mcu = receiver();
    if (mcu != nullptr && m_decoder.isUnfinished(now)) {
        mcu->onPartOfBlock(now);
    }
}

Mcu* Simulator::receiver() const {
    const auto found =
        std::find_if(m_mcus.begin(), m_mcus.end(), [](const auto& mcu) { return mcu->receives(); });
    return found == m_mcus.end() ? nullptr : found->get();
}

bool Simulator::transferUnderWay() const {
    return receiver() != nullptr;
}

void Simulator::onItem(const LineItem& item, Time now) {
    if (item.type == LineItem::Type::Frame) {
        onFrame(item, now);
        return;
    }
    Mcu* const mcu = receiver();
    std::string meaning = itemMeaning(item.type);
    if (item.type == LineItem::Type::Block) {
        meaning = fmt::format("block {}", item.bytes[1]);
    }
    record({m_clock.now(), Direction::ToMcu, mcu == nullptr ? "" : mcu->name(), meaning, item.bytes,
            "", ""});
    if (mcu != nullptr) {
        mcu->onTransferItem(item, now);
        m_live.showProgress(now, mcu->name(), mcu->receivedBytes());
    }
}

void Simulator::onFrame(const LineItem& item, Time now) {
    const auto request = decodeRequest(item.frame);
    if (!request) {
        record({m_clock.now(), Direction::ToMcu, "", "unknown request", item.bytes, "", ""});
        return;
    }
    const auto meant = std::find_if(m_mcus.begin(), m_mcus.end(), [&request](const auto& mcu) {
        return mcu->isMeantBy(*request);
    });
    const bool one = request->target && meant != m_mcus.end();
    record({m_clock.now(), Direction::ToMcu, one ? (*meant)->name() : "",
            requestMeaning(request->kind), item.bytes, "", ""});
    for (const auto& mcu : m_mcus) {
        if (mcu->isMeantBy(*request)) {
            mcu->onRequest(request->kind, now);
        } else {
            mcu->onRequestToOther();
        }
    }
}

void Simulator::writeLine(Time now) {
    m_output.send(now, [this](const Outgoing& sent) {
        record({m_clock.now(), Direction::FromMcu, sent.mcu, sent.meaning, sent.bytes, sent.detail,
                sent.fault});
    });
}

void Simulator::transmit(Outgoing outgoing) {
    m_output.add(std::move(outgoing));
}

void Simulator::note(const std::string& mcu, const std::string& meaning,
                     const std::string& detail) {
    record({m_clock.now(), Direction::Event, mcu, meaning, {}, detail, ""});
}

void Simulator::record(Record record) {
    m_transcript.write(record);
    m_live.show(record);
}

std::string Simulator::stateReport() const {
    nlohmann::json report;
    report["mcus"] = nlohmann::json::array();
    for (const auto& mcu : m_mcus) {
        report["mcus"].push_back(mcu->report());
    }
    return report.dump(2) + "\n";
}

void Simulator::writeState() {
    if (m_options.state.empty()) {
        return;
    }
    std::string report = stateReport();
    if (report != m_writtenState) {
        replaceFile(m_options.state, report);
        m_writtenState = std::move(report);
    }
}
