#include "tests/e2e/Scenario.h"

using nlohmann::json;

SimulatedMcu arm1(const std::vector<int>& version, const std::string& state) {
    return {"ARM1", 1, "a1b2c3d4", version, state};
}

FirmwareImage arm1Image(const std::array<std::uint8_t, 3>& version, std::size_t size) {
    return FirmwareImage(size).version(version).hardware({0xA1, 0xB2, 0xC3, 0xD4});
}

UpdateConfigFile arm1Config(const UpdateConfigFile::Attributes& more) {
    UpdateConfigFile config;
    config.entry(1, "ARM1", "arm1.bin", 4, more);
    return config;
}

const Requests kWholeUpdate = {"fe060b010113ff", "fe0601010109ff", "fe0501010108ff",
                               "fe050301010aff", "fe0501010108ff", "fe050501010cff"};
const Requests kQuestionsOnly = {"fe060b010113ff", "fe0601010109ff", "fe050901000fff"};
const Requests kHardwareOnly = {"fe060b010113ff", "fe050901000fff"};

Requests operator+(const Requests& first, const Requests& second) {
    Requests both = first;
    both.insert(both.end(), second.begin(), second.end());
    return both;
}

Requests operator*(int times, const Requests& requests) {
    Requests all;
    for (int i = 0; i < times; ++i) {
        all = all + requests;
    }
    return all;
}

const json kNeverBoots = json::array({{{"on", "set-to-boot"}, {"do", "no-boot"}}});
const json kBootsAtTheThirdRequest =
    json::array({{{"on", "set-to-boot"}, {"n", {{"from", 1}, {"to", 2}}}, {"do", "no-boot"}}});
const json kBootsAtTheSixthRequest =
    json::array({{{"on", "set-to-boot"}, {"n", {{"from", 1}, {"to", 5}}}, {"do", "no-boot"}}});
const json kRefusesPermission = json::array({{{"on", "update"}, {"do", "refuse"}}});
const json kSilent = json::array({{{"on", "hardware"}, {"do", "ignore"}}});
const json kWrongHardwareSixTimes = json::array(
    {{{"on", "hardware"}, {"n", {{"from", 1}, {"to", 6}}}, {"do", "wrong"}, {"data", "deadbeef"}}});
