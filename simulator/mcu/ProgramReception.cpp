#include "simulator/mcu/ProgramReception.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "simulator/mcu/Frame.h"
#include "simulator/mcu/OnTheWay.h"

namespace {

// A program that acknowledges the end and then does not end is not waited for any longer.
constexpr std::chrono::seconds kHold{1};
constexpr std::size_t kBlockFrame = 5;  // header and check

}  // namespace

ProgramReception::ProgramReception(const ProgramSettings& settings, std::string file, Time now)
    : m_command(settings.command),
      m_file(std::move(file)),
      m_startAt(now + settings.startDelay),
      m_silenceLimit(settings.silenceLimit),
      m_lastHeard(m_startAt) {
    std::replace(m_command.begin(), m_command.end(), std::string("FILE"), m_file);
}

ProgramReception::~ProgramReception() {
    m_program.reset();
    (void)unlink(m_file.c_str());  // a program that failed may have removed it itself
}

void ProgramReception::startWhenDue(Time now) {
    if (!m_program && now >= m_startAt) {
        (void)unlink(m_file.c_str());  // usually there is none
        m_program.emplace(m_command);
    }
}

Time ProgramReception::nextDeadline() const {
    return m_program ? std::min(m_lastHeard + m_silenceLimit, m_holdEnd) : m_startAt;
}

bool ProgramReception::hostIsSilentForTooLong(Time now) const {
    return now >= m_lastHeard + m_silenceLimit;
}

std::optional<Bytes> ProgramReception::image() const {
    std::ifstream in(m_file, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    return Bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void ProgramReception::beginUnit(HostUnit unit) {
    m_unit = std::move(unit);
    m_position = 0;
    m_starting = m_starting && m_unit.withheld;
}

void ProgramReception::take(std::uint8_t byte, bool heard, Time now) {
    m_lastHeard = now;
    if (heard && !m_unit.withheld) {
        const Bytes arriving = inPlaceOf(byte, m_position, m_unit.length, m_unit.faults);
        m_toProgram.insert(m_toProgram.end(), arriving.begin(), arriving.end());
    }
    ++m_position;
}

bool ProgramReception::takesForFrame(std::uint8_t byte) const {
    return isBetweenUnits() && (!m_frame.empty() || byte == kFrameStart);
}

void ProgramReception::takePartOfFrame(std::uint8_t byte) {
    m_frame.push_back(byte);
    switch (scanFrame(m_frame).match) {
        case FrameMatch::Incomplete:
            return;
        case FrameMatch::Complete:
            break;
        default:
            m_toProgram.insert(m_toProgram.end(), m_frame.begin(), m_frame.end());
    }
    m_frame.clear();
}

void ProgramReception::passOn() {
    if (!m_toProgram.empty()) {
        m_program->write(std::exchange(m_toProgram, {}));
    }
}

HostUnit ProgramReception::takeQuestion() {
    return std::exchange(m_asked, {});
}

void ProgramReception::noteAcknowledged(const HostUnit& block) {
    m_acknowledgedBytes += block.length - kBlockFrame;
}

void ProgramReception::holdAnswer(const std::vector<Fault>& faults, Time now) {
    m_held = faults;
    m_holdEnd = now + kHold;
}

std::vector<Fault> ProgramReception::takeHeldAnswer() {
    m_holdEnd = kNever;
    return std::exchange(m_held, std::nullopt).value_or(std::vector<Fault>());
}
