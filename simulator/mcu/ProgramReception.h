#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/mcu/FaultScript.h"
#include "simulator/mcu/ReceiverProgram.h"
#include "simulator/mcu/SimClock.h"

// A program that receives images in a boot loader's place.
struct ProgramSettings {
    std::vector<std::string> command;  // empty: the boot loader receives them itself
    Time startDelay{0};                // from the permission to the program's start
    Time silenceLimit{0};              // silence of the host after which the program is ended
};

// A block, an EOT or another byte that the host sends, on its way to the program.
struct HostUnit {
    std::string event;  // the fault script's name for it; empty for other bytes
    std::size_t length = 1;
    std::vector<Fault> faults;
    bool withheld = false;  // the program does not get it
    bool unseen = false;    // nor does anybody answer it
};

// One image on its way to a program: what the program is given, and what its bytes answer.
class ProgramReception {
  public:
    // The word FILE of the command stands for `file`, which does not exist before the program's
    // start and is removed when the object goes.
    ProgramReception(const ProgramSettings& settings, std::string file, Time now);
    ~ProgramReception();
    ProgramReception(const ProgramReception&) = delete;
    ProgramReception& operator=(const ProgramReception&) = delete;

    // Null until the program was started.
    ReceiverProgram* program() { return m_program ? &*m_program : nullptr; }
    const ReceiverProgram* program() const { return m_program ? &*m_program : nullptr; }
    // Starts the program at its time. Throws std::runtime_error when that fails.
    void startWhenDue(Time now);
    // When something is due even if neither the host nor the program says anything.
    Time nextDeadline() const;
    bool hostIsSilentForTooLong(Time now) const;
    // The received image; nothing when there is no file.
    std::optional<Bytes> image() const;

    // The next byte of the host begins a unit.
    bool isBetweenUnits() const { return m_position == m_unit.length; }
    void beginUnit(HostUnit unit);
    const HostUnit& unit() const { return m_unit; }
    // A byte of the unit; the program gets what becomes of it with the next passOn(), or nothing
    // when the MCU does not hear.
    void take(std::uint8_t byte, bool heard, Time now);
    void passOn();
    // A byte that belongs to a command frame between units, which the program does not get. Bytes
    // that turn out to be none are passed on.
    bool takesForFrame(std::uint8_t byte) const;
    void takePartOfFrame(std::uint8_t byte);
    // The next byte of the program answers the unit.
    void expectAnswer() { m_asked = m_unit; }

    // No unit has been passed on yet: what the program says asks for the first one.
    bool isStarting() const { return m_starting; }
    // What the program's next byte answers; its event is empty for a byte that answers nothing.
    HostUnit takeQuestion();
    // Content of blocks that the program has acknowledged.
    std::size_t acknowledgedBytes() const { return m_acknowledgedBytes; }
    void noteAcknowledged(const HostUnit& block);

    // An acknowledgement that is held back until the program has ended, so that the image is stored
    // when the host hears of it; the faults are those that it meets.
    void holdAnswer(const std::vector<Fault>& faults, Time now);
    bool answerIsHeld() const { return m_held.has_value(); }
    bool holdIsOver(Time now) const { return answerIsHeld() && now >= m_holdEnd; }
    std::vector<Fault> takeHeldAnswer();

  private:
    std::vector<std::string> m_command;
    const std::string m_file;
    const Time m_startAt;
    const Time m_silenceLimit;
    Time m_lastHeard;
    HostUnit m_unit;
    std::size_t m_position = 1;
    Bytes m_frame;
    Bytes m_toProgram;
    bool m_starting = true;
    HostUnit m_asked;
    std::size_t m_acknowledgedBytes = 0;
    std::optional<std::vector<Fault>> m_held;
    Time m_holdEnd = kNever;
    std::optional<ReceiverProgram> m_program;
};
