#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/FirmwareImage.h"
#include "tests/e2e/SimulatedLine.h"
#include "tests/e2e/UpdateConfigFile.h"

// The MCU, image and configuration that most tests use: ARM1 behind target 1 with the hardware
// a1b2c3d4, an image, one entry.

SimulatedMcu arm1(const std::vector<int>& version, const std::string& state = "application");
FirmwareImage arm1Image(const std::array<std::uint8_t, 3>& version, std::size_t size = 3000);
UpdateConfigFile arm1Config(const UpdateConfigFile::Attributes& more = {});

// What the tool sends, as Device::requests tells it: in a whole update of ARM1, to an ARM1 that is
// up to date, and in an attempt that ends with the hardware check.
using Requests = std::vector<std::string>;
extern const Requests kWholeUpdate;
extern const Requests kQuestionsOnly;
extern const Requests kHardwareOnly;

// These after one another; these again and again.
Requests operator+(const Requests& first, const Requests& second);
Requests operator*(int times, const Requests& requests);

constexpr int kAttemptsAtAFile = 6;
constexpr int kAttemptsOfAFailedJob = 2 * kAttemptsAtAFile;

// Fault scripts of the simulated MCU.
extern const nlohmann::json kNeverBoots;
extern const nlohmann::json kBootsAtTheThirdRequest;
extern const nlohmann::json kBootsAtTheSixthRequest;
extern const nlohmann::json kRefusesPermission;
extern const nlohmann::json kSilent;
extern const nlohmann::json kWrongHardwareSixTimes;
