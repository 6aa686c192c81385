#pragma once

#include <optional>
#include <string>

// The rules by which a firmware file is taken for an MCU.
namespace update_rules {

// `text` (hexadecimal digits) ANDed with `mask`, two digits at a time; `text` itself when the mask
// is empty. Nothing when the mask does not cover the text, or has something other than hexadecimal
// digits where it covers it: such a mask says nothing about the hardware.
std::optional<std::string> maskHardware(const std::string& text, const std::string& mask);

// Whether the hardware of the MCU and of the file are the same under the mask. False when the mask
// does not cover both.
bool isSameHardware(const std::string& mcu, const std::string& file, const std::string& mask);

// Whether the file is to be sent. Versions are compared as decimal numbers; a text that is no
// number counts as 0. Equal versions are never sent unless forced.
bool needsUpdate(const std::string& mcuVersion, const std::string& fileVersion, bool forceUpdate,
                 bool higherVersion);

}  // namespace update_rules
