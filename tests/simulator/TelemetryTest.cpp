#include "simulator/mcu/Telemetry.h"

#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{10};
constexpr milliseconds kQuiet{50};

class TelemetryTimes : public testing::Test {
  protected:
    TelemetryTimes() { telemetry.begin(Time(0)); }
    Telemetry telemetry{{true, kPeriod, kQuiet, {1}}};
};

TEST_F(TelemetryTimes, ComeInEveryPeriod) {
    EXPECT_FALSE(telemetry.take(milliseconds(9)));
    EXPECT_TRUE(telemetry.take(milliseconds(10)));
    EXPECT_FALSE(telemetry.take(milliseconds(10)));
    EXPECT_EQ(telemetry.next(), Time(milliseconds(20)));
}

TEST_F(TelemetryTimes, AreQuietAfterAStopUploadAndThenComeAgain) {
    telemetry.stopUpload(milliseconds(5));
    EXPECT_FALSE(telemetry.take(milliseconds(54)));
    EXPECT_TRUE(telemetry.take(milliseconds(55)));
    EXPECT_EQ(telemetry.next(), Time(milliseconds(65)));
}

TEST_F(TelemetryTimes, StayQuietWhileStopUploadsKeepComing) {
    for (int i = 0; i < 10; ++i) {
        telemetry.stopUpload(milliseconds(i * 20));
        EXPECT_FALSE(telemetry.take(milliseconds(i * 20 + 19)));
    }
}

TEST_F(TelemetryTimes, ComeAgainAfterAStartUpload) {
    telemetry.stopUpload(milliseconds(5));
    telemetry.startUpload(milliseconds(7));
    EXPECT_TRUE(telemetry.take(milliseconds(17)));
}

TEST_F(TelemetryTimes, EndWithTheApplication) {
    telemetry.end();
    telemetry.startUpload(milliseconds(1));
    EXPECT_EQ(telemetry.next(), kNever);
}

class TelemetryOnTheLine : public testing::Test {
  protected:
    Peer peerOf(const std::vector<json>& mcus) {
        simulator.startLine(mcus);
        return Peer::onTerminal(simulator.path("line"));
    }
    SimulatorProcess simulator;
    const json uploading = {{"period_ms", 20}, {"quiet_ms", 400}, {"content", "aabb"}};
};

TEST_F(TelemetryOnTheLine, IsUploadedByAnApplication) {
    Peer peer = peerOf({arm1({{"telemetry", uploading}})});
    EXPECT_EQ(peer.receive(6), "aabbaabbaabb");
}

TEST_F(TelemetryOnTheLine, IsNotUploadedByABootLoader) {
    Peer peer = peerOf({arm1({{"telemetry", uploading}, {"state", "boot"}})});
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(100)));
}

TEST_F(TelemetryOnTheLine, IsOffUnlessAskedFor) {
    Peer peer = peerOf({arm1()});
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(100)));
}

TEST_F(TelemetryOnTheLine, StopsAtAStopUploadAndResumesWhenNoneFollows) {
    Peer peer = peerOf({arm1({{"telemetry", uploading}})});
    peer.send("fe050701000dff");
    ASSERT_TRUE(simulator.waitForRecord("stop-upload"));
    (void)peer.receive(4096, milliseconds(50));
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(200)));
    EXPECT_EQ(peer.receive(2), "aabb");
}

TEST_F(TelemetryOnTheLine, ResumesAtAStartUpload) {
    json slow = uploading;
    slow["quiet_ms"] = 60000;
    Peer peer = peerOf({arm1({{"telemetry", slow}})});
    peer.send("fe050701000dff");
    ASSERT_TRUE(simulator.waitForRecord("stop-upload"));
    (void)peer.receive(4096, milliseconds(100));
    EXPECT_EQ(peer.ask("fe050901000fff", 2), "aabb");
}

TEST_F(TelemetryOnTheLine, IsHeldBackByAllWhileOneReceivesAnImage) {
    Peer peer = peerOf({arm1({{"state", "boot"}, {"xmodem", {{"start_delay_ms", 0}}}}),
                        arm1({{"name", "ARM2"}, {"target", 2}, {"telemetry", uploading}})});
    peer.send("fe050701000dff");
    ASSERT_TRUE(simulator.waitForRecord("stop-upload"));
    (void)peer.receive(4096, milliseconds(50));
    EXPECT_EQ(peer.ask("fe050501010cff", 8), "fe050601000cff43");
    peer.send(xmodemBlock(1, {1}));
    EXPECT_EQ(peer.receive(1), "06");
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(600)));
    peer.send("18181818");
    EXPECT_EQ(peer.receive(2), "aabb");
}

}  // namespace
