#pragma once

#include <chrono>
#include <deque>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "simulator/mcu/Options.h"
#include "simulator/mcu/Simulator.h"
#include "tests/faults/LineFault.h"
#include "tests/faults/LineNames.h"
#include "tests/faults/TerminalPair.h"

// The line between the tool and simulated MCUs, on which every byte and every wait has a name
// (LineNames.h; a wait is called "wait:" and the name of the byte before it) and things go wrong at
// the named ones. A thread of its own turns it. Nothing else may write to the link or the
// directory of the line meanwhile.
class FaultyLine {
  public:
    using Clock = std::chrono::steady_clock;

    // A moment without any byte that counts as a wait, in the device's time: far below every wait
    // of the tool, far above what a byte takes.
    static constexpr std::chrono::milliseconds kQuiet{400};

    // mcus: the simulator's options, the time scale among them. device: see TerminalPair.
    FaultyLine(const Options& mcus, const std::filesystem::path& device,
               const std::filesystem::path& terminals, std::vector<LineFault> faults);

    // Carries what is to be carried; waits at most `limit` for it.
    void turn(std::chrono::milliseconds limit);
    // No further faults; what was broken works again.
    void lift();

    // A kill fault has come: the tool must be ended before anything else.
    bool killWanted() const { return m_killWanted; }

    // The names of all bytes and waits so far, in order.
    const std::vector<std::string>& events() const { return m_events; }
    // How many of them lie before the first fault that came; all, when none came.
    std::size_t eventsBeforeFault() const;
    // The faults that came, in order.
    const std::vector<LineFault>& happened() const { return m_happened; }
    // Whether an acknowledgement reached the tool in a transfer that the MCU did not give there: as
    // part of noise, by a changed byte, twice, or late.
    bool acknowledgementForged() const { return m_acknowledgementForged; }
    // The questions of the tool before the first fault.
    const std::vector<std::string>& questionsBeforeFault() const;

    // How many bytes the tool got from the line as replies to commands, and during transfers.
    long sessionBytes() const { return m_sessionBytes; }
    long transferBytes() const { return m_transferBytes; }

  private:
    enum class From { Tool, Mcu };

    void waitForBytes(std::chrono::milliseconds limit) const;
    void readTool();
    void readMcus();
    void noticeWait();
    void doWhatIsDue();
    void carry(From from, const NamedByte& byte);
    std::vector<LineFault> happenAt(const std::string& event);
    void break_(const LineFault& fault);
    void spoil(From from, const LineFault& fault, Bytes& bytes);
    static void alter(const LineFault& fault, Bytes& bytes);
    void deliver(From from, const Bytes& bytes);
    void sendToTool(const Bytes& bytes);
    void handOverToMcus();
    Clock::duration real(std::chrono::nanoseconds device) const;

    double m_scale;
    std::vector<LineFault> m_faults;
    TerminalPair m_terminal;
    FileDescriptor m_mcuEnd;  // the MCUs' bytes
    std::unique_ptr<Simulator> m_mcus;
    LineNames m_names;

    std::vector<std::string> m_events;
    std::vector<LineFault> m_happened;
    std::size_t m_eventsBeforeFault = 0;
    std::vector<std::string> m_questionsBeforeFault;
    long m_sessionBytes = 0;
    long m_transferBytes = 0;

    Bytes m_toMcus;  // carried, not yet handed over
    Bytes m_held;    // delayed bytes for the tool
    Clock::time_point m_heldUntil{};
    Clock::time_point m_lastByte = Clock::now();
    bool m_waitNoticed = false;
    bool m_silent = false;
    bool m_garbling = false;
    bool m_killWanted = false;
    bool m_acknowledgementForged = false;
    Clock::time_point m_plugAt = Clock::time_point::max();
};
