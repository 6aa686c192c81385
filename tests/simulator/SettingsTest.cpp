#include <gmock/gmock.h>

#include "simulator/mcu/McuSettings.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

std::vector<McuSettings> settingsOf(const std::string& text) {
    SimulatorProcess directory;
    directory.file("mcus.json", text);
    return readMcuSettings(SettingsFile(directory.path("mcus.json")));
}

McuSettings oneOf(const json& mcu) {
    return settingsOf(json{{"mcus", {mcu}}}.dump()).at(0);
}

std::string complaintAbout(const std::string& text) {
    try {
        (void)settingsOf(text);
    } catch (const SettingsError& error) {
        return error.what();
    }
    return "";
}

const json kLeast = {{"name", "A"}, {"target", 7}, {"hardware", "0E0f"}, {"version", {1, 2, 255}}};

json with(const json& changes) {
    json mcu = kLeast;
    mcu.merge_patch(changes);
    return mcu;
}

TEST(McuSettings, NeedNameTargetHardwareAndVersionOnly) {
    const McuSettings mcu = oneOf(kLeast);
    EXPECT_EQ(mcu.name, "A");
    EXPECT_EQ(mcu.target, 7);
    EXPECT_EQ(mcu.hardware, (Bytes{0x0E, 0x0F}));
    EXPECT_EQ(mcu.version, (Bytes{1, 2, 255}));
    EXPECT_FALSE(mcu.startsInBoot);
    EXPECT_FALSE(mcu.telemetry.on);
    EXPECT_EQ(mcu.layout.versionPosition, 0x10U);
    EXPECT_EQ(mcu.layout.hardwarePosition, 0x20U);
    EXPECT_EQ(mcu.layout.hardwareLength, 2U);
}

TEST(McuSettings, TakePositionsAsNumbersOrAsHexadecimalText) {
    EXPECT_EQ(oneOf(with({{"version_position", 100}})).layout.versionPosition, 100U);
    EXPECT_EQ(oneOf(with({{"version_position", "100"}})).layout.versionPosition, 256U);
    EXPECT_EQ(oneOf(with({{"hardware_position", "0x1C0"}})).layout.hardwarePosition, 0x1C0U);
}

TEST(McuSettings, SwitchTelemetryOnByTruthOrByItsSettings) {
    EXPECT_TRUE(oneOf(with({{"telemetry", true}})).telemetry.on);
    EXPECT_FALSE(oneOf(with({{"telemetry", false}})).telemetry.on);
    const auto telemetry = oneOf(with({{"telemetry", {{"content", "01"}}}})).telemetry;
    EXPECT_TRUE(telemetry.on);
    EXPECT_EQ(telemetry.content, Bytes{1});
}

struct BadMcu {
    json changes;
    std::string message;
};

void PrintTo(const BadMcu& row, std::ostream* out) {
    *out << row.changes.dump();
}

class BadMcuSettings : public testing::TestWithParam<BadMcu> {};

TEST_P(BadMcuSettings, AreRefusedSayingWhatWasExpected) {
    EXPECT_THAT(complaintAbout(json{{"mcus", {with(GetParam().changes)}}}.dump()),
                HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadMcuSettings,
    testing::Values(
        BadMcu{{{"name", nullptr}}, R"(/mcus/0: expected an object with the key "name")"},
        BadMcu{{{"name", "a/b"}}, "/mcus/0/name: expected a name that can be a file's"},
        BadMcu{{{"name", ".."}}, "/mcus/0/name: expected a name that can be a file's"},
        BadMcu{{{"target", 256}}, "expected a whole number from 0 to 255, found 256"},
        BadMcu{{{"target", 1.5}}, "expected a whole number from 0 to 255, found 1.5"},
        BadMcu{{{"target", 18446744073709551615U}}, "expected a whole number from 0 to 255"},
        BadMcu{{{"hardware", "abc"}}, "hexadecimal byte values"},
        BadMcu{{{"hardware", std::string(512, 'a')}}, "at most 255 bytes"},
        BadMcu{{{"version", {1, 2}}}, "a list of three numbers"},
        BadMcu{{{"version", "1.2.3"}}, "/mcus/0/version: expected a list"},
        BadMcu{{{"state", "asleep"}}, "expected one of application, boot"},
        BadMcu{{{"version_position", "xyz"}}, "a byte position"},
        BadMcu{{{"telemetry", {{"period_ms", 0}}}}, "expected a whole number from 1 to"},
        BadMcu{{{"xmodem", {{"start_bytes", 0}}}}, "expected a whole number from 1 to"},
        BadMcu{{{"xmodem", {{"receiver", {"/bin/true", "-c"}}}}}, "a program and its arguments"},
        BadMcu{{{"xmodem", {{"receiver", {"/no/such", "FILE"}}}}},
               "/mcus/0/xmodem/receiver/0: expected the path of a program"},
        BadMcu{{{"bootdelay", 1}}, "expected one of the keys name, target, "}));

TEST(McuSettings, NameFileAndLineOfAWrongValue) {
    EXPECT_THAT(complaintAbout("{\n \"mcus\": [\n  {\n   \"name\": \"A\",\n   \"target\": 300,\n"
                               "   \"hardware\": \"\", \"version\": [1, 2, 3]\n  }\n ]\n}\n"),
                HasSubstr("mcus.json:5: /mcus/0/target: expected"));
}

TEST(McuSettings, NameFileLineAndColumnOfWhatIsNotJson) {
    EXPECT_THAT(complaintAbout("{\n \"mcus\": [,\n"), HasSubstr("mcus.json:2:11: not JSON: "));
    EXPECT_THAT(complaintAbout(""), HasSubstr("mcus.json:1:1: not JSON: "));
}

TEST(McuSettings, RefuseTwoMcusOfOneNameOrTarget) {
    const json other = with({{"name", "B"}});
    EXPECT_THAT(complaintAbout(json{{"mcus", {kLeast, kLeast}}}.dump()),
                HasSubstr("/mcus/1/name: expected a name that no other MCU has"));
    EXPECT_THAT(complaintAbout(json{{"mcus", {kLeast, other}}}.dump()),
                HasSubstr("/mcus/1/target: expected a target that no other MCU has"));
}

TEST(McuSettings, RefuseALineWithoutMcus) {
    EXPECT_THAT(complaintAbout(R"({"mcus": []})"), HasSubstr("at least one MCU"));
    EXPECT_THAT(complaintAbout("[]"), HasSubstr("expected an object"));
}

TEST(SettingsFile, ThatCannotBeReadIsNamed) {
    try {
        const SettingsFile file("no/such.json");
        FAIL();
    } catch (const SettingsError& error) {
        EXPECT_STREQ(error.what(), "no/such.json: cannot be read");
    }
}

}  // namespace
