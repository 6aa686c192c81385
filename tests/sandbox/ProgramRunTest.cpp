#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/sandbox/Sandbox.h"

// How a program is run: its status, its output, its end, and what is left afterwards.
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kRefused = 2;

class ExitStatus : public testing::TestWithParam<int> {};

TEST_P(ExitStatus, IsTheProgramsOwn) {
    EXPECT_EQ(Sandbox().shell({}, "exit " + std::to_string(GetParam())).status, GetParam());
}

TEST_P(ExitStatus, OfAScratchRunIsTheProgramsOwn) {
    const Sandbox sandbox;

    const RunResult result =
        sandbox.script({"--scratch", sandbox.path("scratch"), "--build", BUILD_DIRECTORY, "--",
                        "sh", "-c", "exit " + std::to_string(GetParam())});

    EXPECT_EQ(result.status, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, ExitStatus, testing::Values(0, 1, 7, 255));

TEST(ProgramRun, EndBySignalIsStatus128PlusTheSignal) {
    EXPECT_EQ(Sandbox().shell({}, "kill -SEGV $$").status, 128 + SIGSEGV);
}

TEST(ProgramRun, MissingProgramIsAFailure) {
    EXPECT_NE(Sandbox().run({}, {"no-such-program"}).status, 0);
}

TEST(ProgramRun, OutputsArePassedThrough) {
    const RunResult result = Sandbox().shell({}, "echo to output; echo to errors >&2");

    EXPECT_EQ(result.output, "to output\n");
    EXPECT_EQ(result.errors, "to errors\n");
}

TEST(ProgramRun, OutputComesAtOnce) {
    const Sandbox sandbox;

    const auto running = sandbox.start({}, {"sh", "-c", "echo begun; sleep 30"});

    EXPECT_TRUE(eventually([&] { return sandbox.readFile("stdout") == "begun\n"; }));
}

TEST(ProgramRun, ArgumentsArePassedUnchanged) {
    const RunResult result =
        Sandbox().run({}, {"printf", "<%s>", "a b", "", "*", "--", "--dir", "$HOME"});

    EXPECT_EQ(result.output, "<a b><><*><--><--dir><$HOME>");
}

TEST(ProgramRun, RunDirectoryIsKeptAndUsedAgain) {
    const Sandbox sandbox;
    sandbox.shell({}, "echo first > /mnt/mtd/log/file");

    const RunResult result = sandbox.shell({}, "cat /mnt/mtd/log/file");

    EXPECT_EQ(result.output, "first\n");
}

TEST(ProgramRun, RunDirectoryMayHaveBlanksInItsName) {
    const Sandbox sandbox;

    const RunResult result =
        sandbox.script({"--dir", sandbox.path("a b"), "--build", BUILD_DIRECTORY, "--", "sh", "-c",
                        "echo x > /job/file"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(sandbox.readFile("a b/job/file"), "x\n");
}

TEST(ProgramRun, ScratchDirectoryIsRemovedWhateverIsInIt) {
    const Sandbox sandbox;

    sandbox.script({"--scratch", sandbox.path("scratch"), "--build", BUILD_DIRECTORY, "--", "sh",
                    "-c", "mkdir -p /job/a/b && touch /job/a/b/c && chmod 0 /job/a/b /job/a"});

    EXPECT_TRUE(fs::is_empty(sandbox.path("scratch")));
}

TEST(ProgramRun, ScratchDirectoryIsRemovedAfterASignal) {
    const Sandbox sandbox;
    BackgroundProgram running({SANDBOX_SCRIPT, "--scratch", sandbox.path("scratch"), "--build",
                               BUILD_DIRECTORY, "--", "sh", "-c", "echo begun; sleep 30"},
                              sandbox.path("stdout"), sandbox.path("stderr"));
    ASSERT_TRUE(eventually([&] { return !sandbox.readFile("stdout").empty(); }));

    running.signal(SIGTERM);

    EXPECT_EQ(running.wait(), 128 + SIGTERM);
    EXPECT_TRUE(fs::is_empty(sandbox.path("scratch")));
}

TEST(ProgramRun, ScratchRunsDoNotSeeEachOther) {
    const Sandbox sandbox;
    std::vector<std::unique_ptr<BackgroundProgram>> runs;
    for (int i = 0; i < 8; ++i) {
        const std::string number = std::to_string(i);
        runs.push_back(std::make_unique<BackgroundProgram>(
            Words{SANDBOX_SCRIPT, "--scratch", sandbox.path("scratch"), "--build", BUILD_DIRECTORY,
                  "--", "sh", "-c",
                  "echo " + number + " > /var/run/own; sleep 0.2; ls /var/run; cat /var/run/own"},
            sandbox.path("stdout" + number), sandbox.path("stderr" + number)));
    }
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(runs[static_cast<std::size_t>(i)]->wait(), 0);
        EXPECT_EQ(sandbox.readFile("stdout" + std::to_string(i)),
                  "own\n" + std::to_string(i) + "\n");
    }
    EXPECT_TRUE(fs::is_empty(sandbox.path("scratch")));
}

class StopSignal : public testing::TestWithParam<int> {};

TEST_P(StopSignal, ReachesTheProgramWhoseStatusCounts) {
    const Sandbox sandbox;
    const std::string name = GetParam() == SIGINT ? "INT" : "TERM";
    const auto running = sandbox.start(
        {}, {"sh", "-c",
             "trap 'echo got; exit 9' " + name + "; echo begun; while :; do sleep 0.02; done"});
    ASSERT_TRUE(eventually([&] { return sandbox.readFile("stdout") == "begun\n"; }));

    running->signal(GetParam());

    EXPECT_EQ(running->wait(), 9);
    EXPECT_EQ(sandbox.readFile("stdout"), "begun\ngot\n");
}

TEST_P(StopSignal, EndsAProgramThatDoesNotCare) {
    const Sandbox sandbox;
    const auto running = sandbox.start({}, {"sh", "-c", "echo begun; exec sleep 30"});
    ASSERT_TRUE(eventually([&] { return sandbox.readFile("stdout") == "begun\n"; }));

    running->signal(GetParam());

    EXPECT_EQ(running->wait(), 128 + GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, StopSignal, testing::Values(SIGTERM, SIGINT));

TEST(ProgramRun, ProgramThatIgnoresTheSignalIsEndedByForce) {
    const Sandbox sandbox;
    const auto running =
        sandbox.start({}, {"sh", "-c", "trap '' TERM; echo begun; while :; do sleep 0.02; done"});
    ASSERT_TRUE(eventually([&] { return sandbox.readFile("stdout") == "begun\n"; }));

    running->signal(SIGTERM);

    EXPECT_EQ(running->wait(), 128 + SIGKILL);
}

TEST(ProgramRun, SignalsAreNotIgnoredInTheProgram) {
    const std::string line = Sandbox().shell({}, "grep SigIgn /proc/self/status").output;

    constexpr std::string_view kKey = "SigIgn:";
    ASSERT_EQ(line.substr(0, kKey.size()), kKey);
    const unsigned long long ignored = std::stoull(line.substr(kKey.size()), nullptr, 16);
    constexpr unsigned long long kOrdinarySignals = 0x7fffffff;  // the rest is the C library's own
    EXPECT_EQ(ignored & kOrdinarySignals, 0U);
}

TEST(ProgramRun, NothingIsLeftRunningWhenTheScriptIsKilled) {
    const Sandbox sandbox;
    const auto running = sandbox.start(
        {"--daemon", "--heartbeat-reader"},
        {"sh", "-c", "echo begun; while :; do date +%N > /job/alive; sleep 0.02; done"});
    ASSERT_TRUE(eventually([&] { return !readText(sandbox.device("job/alive")).empty(); }));

    running->signal(SIGKILL);

    EXPECT_EQ(running->wait(), 1000 + SIGKILL);
    EXPECT_TRUE(eventually([&] { return !fs::exists(sandbox.device("run/systemd.sock")); }));
    const auto isStill = [&] {
        const std::string before = readText(sandbox.device("job/alive"));
        const timespec pause{0, 200000000};
        (void)nanosleep(&pause, nullptr);
        return readText(sandbox.device("job/alive")) == before;
    };
    EXPECT_TRUE(eventually(isStill));
}

TEST(ProgramRun, ShimsOwnSettingsInTheEnvironmentAreReplaced) {
    setenv("DEVICE_SHIM_LINE_STATUS", "off", 1);
    setenv("DEVICE_SHIM_WATCHDOG", "fail", 1);
    setenv("DEVICE_SHIM_TIME_SCALE", "77", 1);

    const RunResult result = Sandbox().shell(
        {}, "echo $DEVICE_SHIM_LINE_STATUS $DEVICE_SHIM_WATCHDOG $DEVICE_SHIM_TIME_SCALE");

    unsetenv("DEVICE_SHIM_LINE_STATUS");
    unsetenv("DEVICE_SHIM_WATCHDOG");
    unsetenv("DEVICE_SHIM_TIME_SCALE");
    EXPECT_EQ(result.output, "on ok 1\n");
}

TEST(ProgramRun, BuildTreeIsFoundByTheProgramsPath) {
    const Sandbox sandbox;

    const RunResult result = sandbox.script(
        {"--dir", sandbox.path("device"), "--", PROBE_PROGRAM, "line-status", "slave"});

    EXPECT_EQ(result.output, "0 0 1\n");
}

TEST(ProgramRun, BuildTreeWithoutTheShimIsRefused) {
    const Sandbox sandbox;

    const RunResult result = sandbox.script(
        {"--dir", sandbox.path("device"), "--build", sandbox.path("none"), "--", "echo", "run"});

    EXPECT_EQ(result.status, kRefused);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("device-shim"));
}

struct WrongArguments {
    const char* name;
    Words arguments;
};

void PrintTo(const WrongArguments& row, std::ostream* out) {
    *out << row.name;
}

class WrongCommandLine : public testing::TestWithParam<WrongArguments> {};

TEST_P(WrongCommandLine, IsRefusedAndNothingIsRun) {
    const Sandbox sandbox;
    Words arguments = {"--build", BUILD_DIRECTORY};
    for (const std::string& argument : GetParam().arguments) {
        arguments.push_back(argument == "DIR" ? std::string(sandbox.path("device")) : argument);
    }

    const RunResult result = sandbox.script(arguments);

    EXPECT_EQ(result.status, kRefused);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, testing::StartsWith("sandbox: "));
    EXPECT_FALSE(fs::exists(sandbox.path("device")));
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongCommandLine,
    testing::Values(
        WrongArguments{"NoDirectory", {"--", "echo", "run"}},
        WrongArguments{"TwoDirectories", {"--dir", "DIR", "--scratch", "DIR", "--", "echo", "run"}},
        WrongArguments{"NoProgram", {"--dir", "DIR", "--"}},
        WrongArguments{"NoSeparator", {"--dir", "DIR", "echo", "run"}},
        WrongArguments{"NoValue", {"--dir"}},
        WrongArguments{"UnknownOption", {"--dir", "DIR", "--quick", "--", "echo", "run"}},
        WrongArguments{"ScaleBelowOne",
                       {"--dir", "DIR", "--time-scale", "0.5", "--", "echo", "run"}},
        WrongArguments{"ScaleIsNoNumber",
                       {"--dir", "DIR", "--time-scale", "fast", "--", "echo", "run"}},
        WrongArguments{"WatchdogMode",
                       {"--dir", "DIR", "--watchdog", "maybe", "--", "echo", "run"}},
        WrongArguments{"LineStatusMode",
                       {"--dir", "DIR", "--line-status", "1", "--", "echo", "run"}},
        WrongArguments{"BindWithoutGuest", {"--dir", "DIR", "--bind", "/x", "--", "echo", "run"}},
        WrongArguments{
            "ReaderWithoutPipe",
            {"--dir", "DIR", "--heartbeat-reader", "--no-heartbeat-pipe", "--", "echo", "run"}}),
    [](const testing::TestParamInfo<WrongArguments>& row) { return row.param.name; });

}  // namespace
