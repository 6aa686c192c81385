#include <gtest/gtest.h>

#include <csignal>

#include "tests/sandbox/Sandbox.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// "reboot", with its length before it, in this machine's byte order.
const std::string kReboot = "060000007265626f6f74";

TEST(ControlDaemon, AnswersZeroUnlessToldOtherwise) {
    const Sandbox sandbox;

    EXPECT_EQ(sandbox.probe({"--daemon"}, {"daemon", kReboot}).output, "0\n");

    const std::vector<json> records = sandbox.records("daemon.jsonl");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].at("length"), 6);
    EXPECT_EQ(records[0].at("command"), "reboot");
    EXPECT_EQ(records[0].at("reply"), 0);
    EXPECT_FALSE(records[0].contains("error"));
}

TEST(ControlDaemon, AnswersTheGivenCode) {
    const Sandbox sandbox;

    EXPECT_EQ(sandbox.probe({"--daemon", "-17"}, {"daemon", kReboot}).output, "-17\n");

    EXPECT_EQ(sandbox.records("daemon.jsonl").at(0).at("reply"), -17);
}

TEST(ControlDaemon, ThatIsSilentKeepsTheConnectionOpen) {
    const Sandbox sandbox;

    const auto running = sandbox.start({"--daemon", "silent"}, {PROBE_PROGRAM, "daemon", kReboot});

    ASSERT_TRUE(eventually([&] { return sandbox.records("daemon.jsonl").size() == 1; }));
    EXPECT_EQ(sandbox.records("daemon.jsonl").at(0).at("reply"), nullptr);
    EXPECT_EQ(sandbox.readFile("stdout"), "");
}

TEST(ControlDaemon, IsNotThereUnlessAskedFor) {
    EXPECT_EQ(Sandbox().probe({}, {"daemon", kReboot}).output, "no daemon\n");
}

TEST(ControlDaemon, RunsNothing) {
    const Sandbox sandbox;
    // "touch /job/x"
    sandbox.probe({"--daemon"}, {"daemon", "0c000000746f756368202f6a6f622f78"});

    EXPECT_EQ(sandbox.records("daemon.jsonl").at(0).at("command"), "touch /job/x");
    EXPECT_FALSE(fs::exists(sandbox.device("job/x")));
}

struct Malformed {
    const char* name;
    std::string bytes;
    json length;
    const char* error;
};

void PrintTo(const Malformed& row, std::ostream* out) {
    *out << row.name;
}

class MalformedRequest : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedRequest, IsRecordedNotAnsweredAndSurvived) {
    const Sandbox sandbox;
    const std::string probe = PROBE_PROGRAM " daemon ";

    // The first client is ended while it waits for an answer that does not come.
    const RunResult result =
        sandbox.shell({"--daemon", "5"},
                      "timeout 0.2 " + probe + "'" + GetParam().bytes + "'; " + probe + kReboot);

    EXPECT_EQ(result.output.substr(result.output.size() - 2), "5\n");
    const std::vector<json> records = sandbox.records("daemon.jsonl");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].at("length"), GetParam().length);
    EXPECT_EQ(records[0].at("reply"), nullptr);
    EXPECT_EQ(records[0].at("error"), GetParam().error);
    EXPECT_EQ(records[1].at("command"), "reboot");
}

INSTANTIATE_TEST_SUITE_P(
    All, MalformedRequest,
    testing::Values(
        Malformed{"Nothing", "", nullptr, "the client ended before the request did"},
        Malformed{"HalfALength", "0600", nullptr, "the client ended before the request did"},
        Malformed{"HalfACommand", "0600000072", 6, "the client ended before the request did"},
        Malformed{"NoCommand", "00000000", 0, "the length is not from 1 to 999"},
        Malformed{"TooLong", "e803000072", 1000, "the length is not from 1 to 999"}),
    [](const testing::TestParamInfo<Malformed>& row) { return row.param.name; });

TEST(ControlDaemon, ServesOthersWhileAClientHangs) {
    const std::string probe = PROBE_PROGRAM " daemon ";

    const RunResult result = Sandbox().shell(
        {"--daemon", "5"}, probe + "0600 & sleep 0.1; " + probe + kReboot + "; kill $!");

    EXPECT_EQ(result.output, "5\n");
}

TEST(ControlDaemon, RecordsBytesThatAreNoText) {
    const Sandbox sandbox;

    sandbox.probe({"--daemon"}, {"daemon", "03000000ff4100"});

    EXPECT_EQ(sandbox.records("daemon.jsonl").at(0).at("command"), std::string("\xef\xbf\xbd"
                                                                               "A\0",
                                                                               5));
}

TEST(ControlDaemon, LeavesNoSocketBehind) {
    const Sandbox sandbox;

    sandbox.shell({"--daemon"}, "test -S /var/run/systemd.sock");

    EXPECT_FALSE(fs::exists(sandbox.device("run/systemd.sock")));
}

TEST(ControlDaemon, ReplacesASocketThatWasLeftBehind) {
    const Sandbox sandbox;
    sandbox.writeFile("device/run/systemd.sock", "");

    EXPECT_EQ(sandbox.probe({"--daemon", "3"}, {"daemon", kReboot}).output, "3\n");
}

TEST(ControlDaemon, ListensAtAPathOfAnyLength) {
    const Sandbox sandbox;
    const fs::path directory = sandbox.path(std::string(150, 'd'));
    fs::create_directories(directory);
    BackgroundProgram daemon({CONTROL_DAEMON, "--socket", directory / "socket", "--record",
                              sandbox.path("daemon.jsonl")},
                             sandbox.path("stdout"), sandbox.path("stderr"));

    EXPECT_TRUE(eventually([&] { return sandbox.readFile("stdout") == "ready\n"; }));
    EXPECT_TRUE(fs::is_socket(directory / "socket"));

    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait(), 0);
    EXPECT_FALSE(fs::exists(directory / "socket"));
}

TEST(ControlDaemon, ThatCannotListenSaysSo) {
    const Sandbox sandbox;

    BackgroundProgram daemon({CONTROL_DAEMON, "--socket", sandbox.path("none") / "socket",
                              "--record", sandbox.path("daemon.jsonl")},
                             sandbox.path("stdout"), sandbox.path("stderr"));

    EXPECT_EQ(daemon.wait(), 1);
    EXPECT_EQ(sandbox.readFile("stdout"), "");
}

}  // namespace
