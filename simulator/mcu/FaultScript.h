#pragma once

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "simulator/mcu/SettingsFile.h"

enum class FaultAction {
    Drop,
    Delay,
    Truncate,
    Flip,
    Duplicate,
    Noise,
    Wrong,
    Ignore,
    Silent,
    Vanish,
    PowerCycle,
    Refuse,
    NoBoot,
    Nak,
    Cancel,
    Byte,
    Damage,
    Lose,
    Insert,
};

// One thing that goes wrong, with what the action needs to know.
struct Fault {
    FaultAction action = FaultAction::Drop;
    std::string name;        // of the action, as written in the script
    Time duration{0};        // delay; silence and absence, kNever for one without end
    std::size_t count = 0;   // bytes kept, position in the block or answer, copies, the byte itself
    std::size_t length = 1;  // how many bytes are lost
    std::uint8_t mask = 0;   // bits to flip
    Bytes bytes;             // noise, wrong data, what is inserted
    bool before = false;     // noise: in front of the answer
};

// Which occurrences of an event are meant; counted from 1.
class Occurrences {
  public:
    // Reads "n" of a fault: a number, a list of numbers, {"from", "to"} or {"every"}.
    static Occurrences read(const Setting& setting);

    bool contains(long long number) const;

  private:
    std::vector<long long> m_numbers;  // empty when the range holds
    long long m_from = 1;
    long long m_to = std::numeric_limits<long long>::max();
    long long m_every = 1;
};

// What goes wrong and when, as read from a fault script.
class FaultScript {
  public:
    // Nothing ever goes wrong.
    FaultScript() = default;
    // Throws SettingsError; mcuNames are the MCUs that the script may name.
    FaultScript(const SettingsFile& file, const std::vector<std::string>& mcuNames);

    // An event happens at an MCU: counts it and gives the faults that this occurrence meets, in the
    // order of the script.
    std::vector<Fault> occur(const std::string& event, const std::string& mcu);

  private:
    struct Rule {
        std::string event;
        std::optional<std::string> mcu;
        Occurrences occurrences;
        long long counted = 0;
        Fault fault;
    };
    static Rule readRule(const Setting& setting, const std::vector<std::string>& mcuNames);

    std::vector<Rule> m_rules;
};

// The first fault with this action, or null.
const Fault* findFault(const std::vector<Fault>& faults, FaultAction action);
