#include "simulator/mcu/FaultScript.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace {

const std::vector<std::string> kQuestions = {"version", "state", "hardware", "update"};
const std::vector<std::string> kAll = {
    "version",      "state",       "hardware",  "update", "set-to-boot", "reboot", "reset",
    "start-upload", "stop-upload", "alarm-off", "start",  "block",       "eot",    "telemetry"};
const std::vector<std::string> kAnswered = {"version", "state", "hardware", "update",
                                            "start",   "block", "eot",      "telemetry"};
const std::vector<std::string> kTransfer = {"start", "block", "eot"};

struct ActionRow {
    FaultAction action;
    const char* name;
    const std::vector<std::string>* events;
    std::vector<std::string> keys;
};

const std::vector<ActionRow>& actionTable() {
    static const std::vector<std::string> update = {"update"};
    static const std::vector<std::string> setToBoot = {"set-to-boot"};
    static const std::vector<std::string> block = {"block"};
    static const std::vector<std::string> arriving = {"block", "eot"};
    static const std::vector<ActionRow> table = {
        {FaultAction::Drop, "drop", &kAnswered, {}},
        {FaultAction::Delay, "delay", &kAnswered, {"ms"}},
        {FaultAction::Truncate, "truncate", &kAnswered, {"keep"}},
        {FaultAction::Flip, "flip", &kAnswered, {"at", "mask"}},
        {FaultAction::Duplicate, "duplicate", &kAnswered, {"times"}},
        {FaultAction::Noise, "noise", &kAll, {"bytes", "where"}},
        {FaultAction::Wrong, "wrong", &kQuestions, {"data"}},
        {FaultAction::Ignore, "ignore", &kAll, {}},
        {FaultAction::Silent, "silent", &kAll, {"ms"}},
        {FaultAction::Vanish, "vanish", &kAll, {"ms"}},
        {FaultAction::PowerCycle, "power-cycle", &kAll, {}},
        {FaultAction::Refuse, "refuse", &update, {}},
        {FaultAction::NoBoot, "no-boot", &setToBoot, {}},
        {FaultAction::Nak, "nak", &kTransfer, {}},
        {FaultAction::Cancel, "cancel", &kTransfer, {}},
        {FaultAction::Byte, "byte", &kTransfer, {"value"}},
        {FaultAction::Damage, "damage", &block, {"at", "mask"}},
        {FaultAction::Lose, "lose", &block, {"at", "count"}},
        {FaultAction::Insert, "insert", &arriving, {"at", "bytes"}},
    };
    return table;
}

constexpr long long kMostBytes = 4096;
constexpr long long kMostOccurrences = std::numeric_limits<long long>::max();

const ActionRow& readAction(const Setting& setting) {
    std::vector<std::string> names;
    for (const ActionRow& row : actionTable()) {
        names.emplace_back(row.name);
    }
    return actionTable()[setting.choice(names)];
}

long long numberOr(const Setting& object, const char* key, long long least, long long most,
                   long long fallback) {
    return object.has(key) ? object.at(key).number(least, most) : fallback;
}

Time durationOf(const Setting& fault, FaultAction action) {
    if (action == FaultAction::Delay || fault.has("ms")) {
        return fault.at("ms").milliseconds();
    }
    return kNever;
}

// The parameters of the action; the keys are known to fit it.
Fault readFault(const Setting& setting, const ActionRow& row) {
    Fault fault;
    fault.action = row.action;
    fault.name = row.name;
    fault.duration = durationOf(setting, row.action);
    fault.mask = static_cast<std::uint8_t>(numberOr(setting, "mask", 1, 0xFF, 0xFF));
    switch (row.action) {
        case FaultAction::Truncate:
            fault.count = static_cast<std::size_t>(setting.at("keep").number(0, kMostBytes));
            break;
        case FaultAction::Flip:
        case FaultAction::Damage:
            fault.count = static_cast<std::size_t>(numberOr(setting, "at", 0, kMostBytes, 0));
            break;
        case FaultAction::Lose:
            fault.count = static_cast<std::size_t>(numberOr(setting, "at", 0, kMostBytes, 0));
            fault.length = static_cast<std::size_t>(numberOr(setting, "count", 1, kMostBytes, 1));
            break;
        case FaultAction::Insert:
            fault.count = static_cast<std::size_t>(numberOr(setting, "at", 0, kMostBytes, 0));
            fault.bytes = setting.at("bytes").hexBytes();
            break;
        case FaultAction::Duplicate:
            fault.count = static_cast<std::size_t>(numberOr(setting, "times", 1, kMostBytes, 1));
            break;
        case FaultAction::Byte:
            fault.count = static_cast<std::size_t>(setting.at("value").number(0, 0xFF));
            break;
        case FaultAction::Noise:
            fault.bytes = setting.at("bytes").hexBytes();
            fault.before =
                setting.has("where") && setting.at("where").choice({"after", "before"}) == 1;
            break;
        case FaultAction::Wrong:
            fault.bytes = setting.at("data").hexBytes();
            if (fault.bytes.size() > 0xFF) {
                setting.at("data").fail("at most 255 bytes");
            }
            break;
        default:
            break;
    }
    return fault;
}

}  // namespace

Occurrences Occurrences::read(const Setting& setting) {
    Occurrences occurrences;
    if (setting.json().is_array()) {
        for (const Setting& number : setting.elements()) {
            occurrences.m_numbers.push_back(number.number(1, kMostOccurrences));
        }
        if (occurrences.m_numbers.empty()) {
            setting.fail("at least one number");
        }
    } else if (setting.json().is_object()) {
        setting.expectObject({"from", "to", "every"});
        occurrences.m_from = numberOr(setting, "from", 1, kMostOccurrences, 1);
        occurrences.m_to =
            numberOr(setting, "to", occurrences.m_from, kMostOccurrences, kMostOccurrences);
        occurrences.m_every = numberOr(setting, "every", 1, kMostOccurrences, 1);
        if (setting.has("every") && !setting.has("from")) {
            occurrences.m_from = occurrences.m_every;
        }
    } else if (setting.json().is_number()) {
        occurrences.m_numbers.push_back(setting.number(1, kMostOccurrences));
    } else {
        setting.fail(R"(a number, a list of numbers, {"from", "to"} or {"every"})");
    }
    return occurrences;
}

bool Occurrences::contains(long long number) const {
    if (!m_numbers.empty()) {
        return std::find(m_numbers.begin(), m_numbers.end(), number) != m_numbers.end();
    }
    return number >= m_from && number <= m_to && (number - m_from) % m_every == 0;
}

FaultScript::FaultScript(const SettingsFile& file, const std::vector<std::string>& mcuNames) {
    const Setting root = file.root();
    root.expectObject({"faults"});
    for (const Setting& setting : root.at("faults").elements()) {
        m_rules.push_back(readRule(setting, mcuNames));
    }
}

FaultScript::Rule FaultScript::readRule(const Setting& setting,
                                        const std::vector<std::string>& mcuNames) {
    const ActionRow& action = readAction(setting.at("do"));
    std::vector<std::string> keys = {"on", "mcu", "n", "do"};
    keys.insert(keys.end(), action.keys.begin(), action.keys.end());
    setting.expectObject(keys);

    Rule rule;
    (void)setting.at("on").choice(kAll);
    rule.event = setting.at("on").text();
    const auto& events = *action.events;
    if (std::find(events.begin(), events.end(), rule.event) == events.end()) {
        setting.at("do").fail(fmt::format("an action that \"{}\" can meet (\"{}\" is for {})",
                                          rule.event, action.name, fmt::join(events, ", ")));
    }
    if (setting.has("mcu")) {
        rule.mcu = mcuNames[setting.at("mcu").choice(mcuNames)];
    }
    if (setting.has("n")) {
        rule.occurrences = Occurrences::read(setting.at("n"));
    }
    rule.fault = readFault(setting, action);
    return rule;
}

std::vector<Fault> FaultScript::occur(const std::string& event, const std::string& mcu) {
    std::vector<Fault> faults;
    for (Rule& rule : m_rules) {
        if (rule.event != event || (rule.mcu && *rule.mcu != mcu)) {
            continue;
        }
        ++rule.counted;
        if (rule.occurrences.contains(rule.counted)) {
            faults.push_back(rule.fault);
        }
    }
    return faults;
}

const Fault* findFault(const std::vector<Fault>& faults, FaultAction action) {
    const auto found = std::find_if(faults.begin(), faults.end(), [action](const Fault& fault) {
        return fault.action == action;
    });
    return found == faults.end() ? nullptr : &*found;
}
