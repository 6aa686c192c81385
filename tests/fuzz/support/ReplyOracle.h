#pragma once

#include <optional>
#include <string>

// What the answers of an MCU say, worked out anew and not by the product's code.

// A frame of at least 32 bytes as the value that the answer carries: the text of a version or of
// hardware information, or one byte of a state or a permission. Nothing when it is no such answer.
std::optional<std::string> versionIn(const std::string& frame);
std::optional<std::string> hardwareIn(const std::string& frame);
std::optional<std::string> stateIn(const std::string& frame);
std::optional<std::string> permissionIn(const std::string& frame);

using Decode = std::optional<std::string> (*)(const std::string& frame);

// The value of the first frame in `bytes`, the silence after them included, that `decode` takes;
// nothing when there is none before the bytes end or a frame is too long.
std::optional<std::string> firstAnswer(const std::string& bytes, Decode decode);
