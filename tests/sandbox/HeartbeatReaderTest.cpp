#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>

#include "tests/sandbox/Sandbox.h"

namespace {

using nlohmann::json;

// As a shell's printf takes them: thread 7, the state in this machine's byte order, time-out 210.
const std::string kPipe = "/hd1/program/bin/threadchannel";
const std::string kWorkerRuns = R"(\032\0\0\0\0\0\0\007\001\0\0\0\0\0\0\322\0\0\0\0\0\0\0\0worker)";
const std::string kWorkerStops =
    R"(\032\0\0\0\0\0\0\007\002\0\0\0\0\0\0\322\0\0\0\0\0\0\0\0worker)";

std::string sending(const std::string& bytes) {
    return "printf '" + bytes + "' > " + kPipe;
}

TEST(HeartbeatReader, RecordsWhatWasWrittenJustBeforeTheEnd) {
    const Sandbox sandbox;

    sandbox.shell({"--heartbeat-reader"}, sending(kWorkerRuns) + "; " + sending(kWorkerStops));

    const std::vector<json> records = sandbox.records("heartbeats.jsonl");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].at("threadId"), 7);
    EXPECT_EQ(records[0].at("state"), 1);
    EXPECT_EQ(records[0].at("timeout"), 210);
    EXPECT_EQ(records[0].at("timestamp"), 0);
    EXPECT_EQ(records[0].at("name"), "worker");
    EXPECT_EQ(records[1].at("state"), 2);
}

TEST(HeartbeatReader, RecordsAMessageWhileTheProgramRuns) {
    const Sandbox sandbox;

    const auto running =
        sandbox.start({"--heartbeat-reader"}, {"sh", "-c", sending(kWorkerRuns) + "; sleep 30"});

    EXPECT_TRUE(eventually([&] { return sandbox.records("heartbeats.jsonl").size() == 1; }));
}

TEST(HeartbeatReader, RecordsWhatIsNoHeartbeatAndGoesOn) {
    const Sandbox sandbox;

    sandbox.shell({"--heartbeat-reader"},
                  sending(R"(\003\0\0\0abc)") + "; " + sending(kWorkerRuns));

    const std::vector<json> records = sandbox.records("heartbeats.jsonl");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].at("error"), "a length of 3 is too short");
    EXPECT_EQ(records[0].at("bytes"), "03000000616263");
    EXPECT_EQ(records[1].at("name"), "worker");
}

TEST(HeartbeatReader, GivesUpAMessageThatStaysIncomplete) {
    const Sandbox sandbox;

    sandbox.shell({"--heartbeat-reader"},
                  sending(R"(\032\0\0\0abc)") + "; sleep 1.5; " + sending(kWorkerRuns));

    const std::vector<json> records = sandbox.records("heartbeats.jsonl");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].at("error"), "the message is incomplete");
    EXPECT_EQ(records[1].at("name"), "worker");
}

TEST(HeartbeatReader, IsMissedByAWriterThatDoesNotWait) {
    const RunResult result =
        Sandbox().shell({}, "dd if=/dev/zero of=" + kPipe + " oflag=nonblock count=1 2>/dev/null");

    EXPECT_NE(result.status, 0);
}

TEST(HeartbeatReader, EndsOnRequestWithStatus0) {
    const Sandbox sandbox;
    ASSERT_EQ(mkfifo(sandbox.path("pipe").c_str(), 0600), 0);
    BackgroundProgram reader({HEARTBEAT_READER, "--pipe", sandbox.path("pipe"), "--record",
                              sandbox.path("heartbeats.jsonl")},
                             sandbox.path("stdout"), sandbox.path("stderr"));
    ASSERT_TRUE(eventually([&] { return sandbox.readFile("stdout") == "ready\n"; }));

    reader.signal(SIGTERM);

    EXPECT_EQ(reader.wait(), 0);
}

TEST(HeartbeatReader, RefusesWhatIsNoPipe) {
    const Sandbox sandbox;
    sandbox.writeFile("file", "");

    BackgroundProgram reader({HEARTBEAT_READER, "--pipe", sandbox.path("file"), "--record",
                              sandbox.path("heartbeats.jsonl")},
                             sandbox.path("stdout"), sandbox.path("stderr"));

    EXPECT_EQ(reader.wait(), 1);
    EXPECT_EQ(sandbox.readFile("stderr"),
              "heartbeat-reader: " + std::string(sandbox.path("file")) + " is no pipe\n");
}

}  // namespace
