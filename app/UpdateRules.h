#pragma once

#include <optional>
#include <string>

// The rules by which a firmware file is taken for an MCU.
namespace update_rules {

// `text` ANDed with `mask`, two hexadecimal digits at a time; the result has an even number of
// them. `text` itself when the mask is empty. Nothing when the mask is shorter than the text, or
// when either has something other than hexadecimal digits where the mask covers the text: taken as
// numbers, such digits would be zeros, and any hardware would look like any other.
std::optional<std::string> maskHardware(const std::string& text, const std::string& mask);

// Whether the hardware of the MCU and of the file are the same under the mask. False when the mask
// cannot be used on both.
bool isSameHardware(const std::string& mcu, const std::string& file, const std::string& mask);

// Whether the file is to be sent. Versions are compared as decimal numbers; a text that is no
// number counts as 0. Equal versions are never sent unless forced.
bool needsUpdate(const std::string& mcuVersion, const std::string& fileVersion, bool forceUpdate,
                 bool higherVersion);

}  // namespace update_rules
