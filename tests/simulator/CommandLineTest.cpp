#include <gmock/gmock.h>

#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using testing::HasSubstr;

constexpr milliseconds kLimit{10000};

struct BadCommandLine {
    const char* claim;
    std::vector<std::string> arguments;
    std::string message;
};

void PrintTo(const BadCommandLine& row, std::ostream* out) {
    *out << row.claim;
}

class BadCommandLines : public testing::TestWithParam<BadCommandLine> {};

TEST_P(BadCommandLines, EndTheProgramWithAMessage) {
    SimulatorProcess simulator;
    simulator.file("good.json", json{{"mcus", {arm1()}}});
    simulator.file("bad.json", std::string("{\n \"mcus\": [\n"));
    simulator.file("wrong.json", json{{"faults", {{{"on", "version"}, {"do", "nothing"}}}}});
    simulator.file("no-image.json", json{{"mcus", {arm1({{"image", "missing.bin"}})}}});
    simulator.start(GetParam().arguments);
    const auto status = simulator.wait(kLimit);
    ASSERT_TRUE(status);
    EXPECT_NE(*status, 0);
    EXPECT_THAT(simulator.errors(), HasSubstr(GetParam().message));
    EXPECT_EQ(simulator.output(), "");
    EXPECT_FALSE(std::filesystem::exists(simulator.path("ready")));
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadCommandLines,
    testing::Values(
        BadCommandLine{"no configuration", {}, "--config is required"},
        BadCommandLine{"no such file", {"--config", "none.json"}, "none.json: cannot be read"},
        BadCommandLine{"not JSON",
                       {"--config", "bad.json", "--ready-file", "ready"},
                       "mcu-simulator: bad.json:3:1: not JSON: "},
        BadCommandLine{"wrong fault",
                       {"--config", "good.json", "--faults", "wrong.json"},
                       "wrong.json:4: /faults/0/do: expected one of drop, "},
        BadCommandLine{"no image file", {"--config", "no-image.json"}, "missing.bin: the image"},
        BadCommandLine{"two endpoints",
                       {"--config", "good.json", "--unix", "a", "--tcp", "0"},
                       "Requires at most 1 options be given from [--pty-link,--unix"},
        BadCommandLine{"no such store", {"--config", "good.json", "--store", "none"}, "none"},
        BadCommandLine{"no such device",
                       {"--config", "good.json", "--serial", "none"},
                       "none: No such file or directory"},
        BadCommandLine{"device that is no terminal",
                       {"--config", "good.json", "--serial", "good.json"},
                       "good.json: Inappropriate ioctl for device"},
        BadCommandLine{"line that is none",
                       {"--config", "good.json", "--serial", "/dev/ptmx", "--line", "9600"},
                       "expected BAUD,DATABITS,STOPBITS,PARITY"},
        BadCommandLine{
            "line of no standard speed",
            {"--config", "good.json", "--serial", "/dev/ptmx", "--line", "9601,8,1,none"},
            "expected BAUD,DATABITS,STOPBITS,PARITY"},
        BadCommandLine{"time scale of nothing",
                       {"--config", "good.json", "--time-scale", "0"},
                       "--time-scale"},
        BadCommandLine{"socket in no directory",
                       {"--config", "good.json", "--unix", "none/socket"},
                       "none/socket: No such file or directory"},
        BadCommandLine{"transcript in no directory",
                       {"--config", "good.json", "--transcript", "none/t"},
                       "none/t: cannot be written"}));

TEST(CommandLine, HelpNamesEveryOption) {
    SimulatorProcess simulator;
    simulator.start({"--help"});
    EXPECT_EQ(simulator.wait(kLimit), 0);
    for (const char* option :
         {"--config", "--pty-link", "--unix", "--tcp", "--serial", "--line", "--baud", "--faults",
          "--transcript", "--state", "--store", "--live", "--time-scale", "--ready-file"}) {
        EXPECT_THAT(simulator.output(), HasSubstr(option));
    }
}

TEST(CommandLine, WithoutAnEndpointMakesAPseudoTerminal) {
    SimulatorProcess simulator;
    simulator.start({"--config", simulator.file("mcus.json", json{{"mcus", {arm1()}}}),
                     "--ready-file", "ready"});
    EXPECT_THAT(simulator.waitUntilReady(), HasSubstr("/dev/pts/"));
    EXPECT_EQ(simulator.terminate(), 0);
}

}  // namespace
