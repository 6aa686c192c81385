// The boot loader's part of an MCU whose images another program receives: the program hears what
// the host sends and says what the host hears, but for the faults in between.
#include <fmt/format.h>

#include <stdexcept>

#include "simulator/mcu/Mcu.h"
#include "simulator/mcu/XmodemBlock.h"

namespace {

HostUnit unitThatBeginsWith(std::uint8_t byte) {
    HostUnit unit;
    if (byte == xmodem::kEot) {
        unit.event = "eot";
    } else if (xmodem::blockSize(byte) != 0) {
        unit.event = "block";
        unit.length = xmodem::blockSize(byte);
    }
    return unit;
}

bool isAnsweredByFault(const std::vector<Fault>& faults) {
    return findFault(faults, FaultAction::Nak) != nullptr ||
           findFault(faults, FaultAction::Byte) != nullptr ||
           findFault(faults, FaultAction::Cancel) != nullptr;
}

}  // namespace

std::vector<int> Mcu::descriptors() const {
    const ReceiverProgram* const program = m_program ? m_program->program() : nullptr;
    return program == nullptr ? std::vector<int>()
                              : std::vector<int>{program->line(), program->end()};
}

void Mcu::onBytes(const std::uint8_t* bytes, std::size_t length, Time now) {
    for (std::size_t i = 0; i < length && hostReachesProgram(); ++i) {
        passToProgram(bytes[i], now);
    }
    if (hostReachesProgram()) {
        m_program->passOn();
    }
}

bool Mcu::hostReachesProgram() const {
    return m_program && m_program->program() != nullptr;
}

void Mcu::passToProgram(std::uint8_t byte, Time now) {
    if (m_program->takesForFrame(byte)) {
        m_program->takePartOfFrame(byte);
        return;
    }
    if (m_program->isBetweenUnits()) {
        HostUnit unit = unitThatBeginsWith(byte);
        if (!unit.event.empty() && hears(now)) {
            unit.faults = m_script.occur(unit.event, name());
            m_statistics.eots += unit.event == "eot" ? 1 : 0;
            unit.unseen = interrupted(unit.faults, unit.event, now);
        }
        unit.withheld = unit.unseen || isAnsweredByFault(unit.faults);
        if (!m_program) {
            return;  // gone by a fault
        }
        m_program->beginUnit(std::move(unit));
    }
    m_program->take(byte, hears(now), now);
    const HostUnit& unit = m_program->unit();
    if (m_program->isBetweenUnits() && !unit.event.empty() && !unit.unseen &&
        !refusedByFault(unit.faults, now)) {
        m_program->expectAnswer();
    }
}

void Mcu::attendProgram(Time now) {
    try {
        m_program->startWhenDue(now);
    } catch (const std::runtime_error& error) {
        endTransfer(error.what());
        return;
    }
    if (!hostReachesProgram()) {
        return;
    }
    // Whether it has ended is asked first: what it has said is then all that it will ever say.
    const std::optional<int> status = m_program->program()->status();
    for (const std::uint8_t byte : m_program->program()->read()) {
        if (m_program && hears(now)) {
            passToHost(byte, now);
        }
    }
    if (!m_program) {
        return;
    }
    if (status) {
        endOfProgram(*status, now);
    } else if (m_program->hostIsSilentForTooLong(now)) {
        endTransfer("the host was silent for too long");
    } else if (m_program->holdIsOver(now)) {
        releaseHeldAnswer(now);
    }
}

void Mcu::passToHost(std::uint8_t byte, Time now) {
    releaseHeldAnswer(now);
    if (m_program->isStarting()) {
        const std::vector<Fault> faults = m_script.occur("start", name());
        ++m_statistics.startBytes;
        if (!interrupted(faults, "start", now) && !refusedByFault(faults, now)) {
            answerTransfer("start", byte, faults, now);
        }
        return;
    }
    const HostUnit question = m_program->takeQuestion();
    if (question.event == "eot" && byte == xmodem::kAck) {
        m_program->holdAnswer(question.faults, now);
        return;
    }
    if (question.event == "block" && byte == xmodem::kAck) {
        onAcknowledged(question);
    }
    m_statistics.blocksRefused += question.event == "block" && byte == xmodem::kNak ? 1 : 0;
    answerTransfer(question.event.c_str(), byte, question.faults, now);
}

void Mcu::onAcknowledged(const HostUnit& block) {
    if (m_program->acknowledgedBytes() == 0) {
        eraseForNewImage();
    }
    m_program->noteAcknowledged(block);
    ++m_statistics.blocksAccepted;
}

void Mcu::releaseHeldAnswer(Time now) {
    if (m_program && m_program->answerIsHeld()) {
        answerTransfer("eot", xmodem::kAck, m_program->takeHeldAnswer(), now);
    }
}

void Mcu::endOfProgram(int status, Time now) {
    const std::optional<Bytes> image = m_program->image();
    if (status == 0 && image) {
        ++m_statistics.completed;
        storeReceived(*image);
        releaseHeldAnswer(now);
        m_program.reset();
        restart(false, now);
        return;
    }
    releaseHeldAnswer(now);
    endTransfer(status == 0 ? "the receiver left no file"
                            : fmt::format("the receiver ended with status {}", status));
}
