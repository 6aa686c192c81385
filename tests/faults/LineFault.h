#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class FaultKind {
    Drop,        // the byte is lost
    Flip,        // one of its bits is inverted; parameter: which, 0 to 7
    Replace,     // another byte in its place; parameter: its value
    Duplicate,   // the byte comes twice
    Noise,       // bytes before it; parameter: how many, 1 to 40
    Delay,       // it and all that follow from the MCUs come later; parameter: seconds
    Garble,      // every block from here on is damaged on its way to the MCUs
    Silence,     // the line carries nothing from here on
    PowerCycle,  // the MCUs lose their power for a moment
    Kill,        // the tool is killed
    Unplug,      // the serial device goes away; parameter: seconds until it is back, 0 for never
};

// One thing that goes wrong on the line, at the first byte or wait of that name (LineNames.h).
struct LineFault {
    FaultKind kind = FaultKind::Drop;
    int parameter = 0;
    std::string event;
};

// As text: "flip:3@mcu:version#1:4"; the parameter is left out where the kind has none.
std::string specOf(const LineFault& fault);
// Throws std::runtime_error naming what was expected.
LineFault faultFrom(const std::string& spec);

// Faults of one run, separated by commas.
std::string specOf(const std::vector<LineFault>& faults);

// What the fault kind and its parameter are called in reports: "replaced by fe", "killed".
std::string titleOf(const LineFault& fault);

// The bytes that a noise fault inserts: always the same for the same fault.
std::vector<std::uint8_t> noiseOf(const LineFault& fault);

// A number that depends on the text alone, the same on every machine.
std::uint32_t hashOf(const std::string& text);
