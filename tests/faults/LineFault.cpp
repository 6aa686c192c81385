#include "tests/faults/LineFault.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

struct KindRow {
    FaultKind kind;
    const char* name;   // in specs
    const char* title;  // in reports
    int leastParameter;
    int mostParameter;  // below 0: the kind has no parameter
};

constexpr std::array<KindRow, 11> kKinds{{
    {FaultKind::Drop, "drop", "byte dropped", 0, -1},
    {FaultKind::Flip, "flip", "bit flipped", 0, 7},
    {FaultKind::Replace, "replace", "byte replaced by {:02x}", 0, 255},
    {FaultKind::Duplicate, "duplicate", "byte duplicated", 0, -1},
    {FaultKind::Noise, "noise", "noise inserted", 1, 40},
    {FaultKind::Delay, "delay", "reply delayed by {} s", 1, 3600},
    {FaultKind::Garble, "garble", "every block damaged from here", 0, -1},
    {FaultKind::Silence, "silence", "line silent from here", 0, -1},
    {FaultKind::PowerCycle, "power-cycle", "MCU power-cycled", 0, -1},
    {FaultKind::Kill, "kill", "tool killed", 0, -1},
    {FaultKind::Unplug, "unplug", "device unplugged", 0, 3600},
}};

const KindRow& rowOf(FaultKind kind) {
    return *std::find_if(kKinds.begin(), kKinds.end(),
                         [kind](const KindRow& row) { return row.kind == kind; });
}

[[noreturn]] void refuse(const std::string& spec, const std::string& expected) {
    throw std::runtime_error(fmt::format("fault \"{}\": expected {}", spec, expected));
}

int parameterFrom(const std::string& text, const KindRow& row, const std::string& spec) {
    const bool digits =
        !text.empty() && text.size() <= 4 &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    const int value = digits ? std::stoi(text) : -1;
    if (value < row.leastParameter || value > row.mostParameter) {
        refuse(spec, fmt::format("a number from {} to {} after \"{}:\"", row.leastParameter,
                                 row.mostParameter, row.name));
    }
    return value;
}

}  // namespace

std::string specOf(const LineFault& fault) {
    const KindRow& row = rowOf(fault.kind);
    const std::string parameter = row.mostParameter < 0 ? "" : fmt::format(":{}", fault.parameter);
    return row.name + parameter + "@" + fault.event;
}

LineFault faultFrom(const std::string& spec) {
    const std::size_t at = spec.find('@');
    if (at == std::string::npos || at + 1 == spec.size()) {
        refuse(spec, "KIND@EVENT or KIND:NUMBER@EVENT");
    }
    const std::size_t colon = std::min(spec.find(':'), at);
    const std::string name = spec.substr(0, colon);
    const auto* const row = std::find_if(
        kKinds.begin(), kKinds.end(), [&name](const KindRow& kind) { return kind.name == name; });
    if (row == kKinds.end()) {
        std::string names;
        for (const KindRow& kind : kKinds) {
            names += names.empty() ? kind.name : std::string(", ") + kind.name;
        }
        refuse(spec, "one of the kinds " + names);
    }
    LineFault fault{row->kind, 0, spec.substr(at + 1)};
    if (row->mostParameter >= 0) {
        const std::string text = colon == at ? "" : spec.substr(colon + 1, at - colon - 1);
        fault.parameter = parameterFrom(text, *row, spec);
    } else if (colon != at) {
        refuse(spec, fmt::format("no number after \"{}\"", name));
    }
    return fault;
}

std::string specOf(const std::vector<LineFault>& faults) {
    std::string text;
    for (const LineFault& fault : faults) {
        text += (text.empty() ? "" : ",") + specOf(fault);
    }
    return text;
}

std::string titleOf(const LineFault& fault) {
    if (fault.kind == FaultKind::Unplug) {
        return fault.parameter == 0 ? "device unplugged, stays away"
                                    : fmt::format("device unplugged for {} s", fault.parameter);
    }
    return fmt::format(fmt::runtime(rowOf(fault.kind).title), fault.parameter);
}

std::vector<std::uint8_t> noiseOf(const LineFault& fault) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(fault.parameter));
    std::uint32_t value = hashOf(specOf(fault));
    for (std::uint8_t& byte : bytes) {
        value = value * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(value >> 24U);
    }
    return bytes;
}

// FNV-1a.
std::uint32_t hashOf(const std::string& text) {
    std::uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619U;
    }
    return hash;
}
