#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using testing::ElementsAre;

const char kUpdate[] = "fe050501010cff";
const char kAcceptedAndStart[] = "fe050601000cff43";
const char kState[] = "fe0501010108ff";
const char kInBoot[] = "fe0502010109ff";
const char kInApplication[] = "fe0502010008ff";
const Bytes kEot{0x04};

class Transfer : public testing::Test {
  protected:
    // A peer whose MCU waits for the first block.
    Peer begin(const json& changes = json::object(), const std::vector<std::string>& more = {}) {
        json mcu = arm1({{"state", "boot"}});
        mcu.merge_patch(changes);
        simulator.startLine({mcu}, nullptr, more);
        Peer peer = Peer::onTerminal(simulator.path("line"));
        EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
        return peer;
    }
    static std::string answerTo(Peer& peer, const Bytes& bytes) {
        peer.send(bytes);
        return peer.receive(1);
    }
    Bytes stored() const { return simulator.readBytes("store/ARM1.bin"); }

    SimulatorProcess simulator;
    const Bytes image = imageOf(1500, {5, 10, 2}, {0x0A, 0x0B, 0x0C, 0x0D});
};

TEST_F(Transfer, StoresTheImageAndRunsItsVersionAfterTheBootDelay) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, xmodemBlock(2, partOf(image, 2))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");

    Bytes padded = image;
    padded.resize(2048, 0);
    EXPECT_EQ(stored(), padded);
    EXPECT_EQ(simulator.mcu("ARM1").at("version"), "2105");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_EQ(peer.ask("fe0601010109ff", 9), "fe060203020a051cff");
    EXPECT_EQ(peer.ask("fe060b010113ff", 10), "fe060c040d0c0b0a44ff");
}

TEST_F(Transfer, TakesShortBlocksToo) {
    Peer peer = begin();
    const Bytes first(image.begin(), image.begin() + 128);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, first, 128)), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), first);
}

TEST_F(Transfer, RefusesADamagedBlockAndTakesItWhenItComesAgain) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    Bytes damaged = xmodemBlock(2, Bytes(1024, 0x04));
    damaged[600] ^= 0x20U;
    EXPECT_EQ(answerTo(peer, damaged), "15");
    EXPECT_EQ(answerTo(peer, xmodemBlock(2, Bytes(1024, 0x04))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored().size(), 2048U);
    EXPECT_EQ(simulator.mcu("ARM1").at("xmodem").at("blocks_refused"), 1);
}

TEST_F(Transfer, RefusesABlockThatMissesBytes) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    Bytes cut = xmodemBlock(2, partOf(image, 2));
    cut.resize(500);
    EXPECT_EQ(answerTo(peer, cut), "15");
}

TEST_F(Transfer, AcknowledgesARepeatedBlockWithoutStoringItTwice) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(Transfer, IsNotTouchedByAStrayStopUploadBeforeTheFirstBlock) {
    Peer peer = begin();
    peer.send("fe050701000dff");
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(Transfer, EndsWhenTheSenderCancels) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    peer.send("18181818");
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    EXPECT_EQ(simulator.mcu("ARM1").at("xmodem").at("cancelled"), 1);
    EXPECT_TRUE(stored().empty());
}

TEST_F(Transfer, EndsWhenTheHostAsksAgain) {
    Peer peer = begin();
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(400)));
}

TEST_F(Transfer, BeginsAnewWithANewPermission) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, Bytes(1024, 9))), "06");
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(Transfer, RepeatsTheStartByteAtTheInterval) {
    Peer peer = begin({{"xmodem", {{"start_interval_ms", 50}, {"start_bytes", 4}}}});
    EXPECT_EQ(peer.receive(3), "434343");
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(200)));
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(Transfer, RefusesTheFirstEotWhenToldTo) {
    Peer peer = begin({{"xmodem", {{"refuse_first_eot", true}}}});
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "15");
    EXPECT_TRUE(stored().empty());
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(Transfer, LeavesTheFlashAloneWhenNoBlockComes) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, kEot), "06");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_EQ(simulator.mcu("ARM1").at("images_received"), 0);
}

TEST_F(Transfer, ThatBreaksLeavesNoApplication) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    peer.send("18181818 fe0110040029 00003eff");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(Transfer, ThatBreaksLeavesTheOldApplicationToAnMcuThatKeepsIt) {
    Peer peer = begin({{"erase_on_update", false}});
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    peer.send("18181818 fe0110040029 00003eff");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
}

TEST_F(Transfer, OfAnImageTooShortToRunLeavesTheMcuInItsBootLoader) {
    Peer peer = begin({{"version_position", 2000}});
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(Transfer, MayFollowAnother) {
    Peer peer = begin();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, Bytes(1024, 7))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    peer.send("fe050301010aff");
    ASSERT_TRUE(simulator.waitForRecord("running", 2));
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
    EXPECT_EQ(simulator.mcu("ARM1").at("images_received"), 2);
}

TEST_F(Transfer, TakesItsTimeOnAPacedLine) {
    Peer peer = begin(json::object(), {"--baud", "38400"});
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    const auto taken = std::chrono::steady_clock::now() - begun;
    // 1030 bytes of ten bits at 38400 baud.
    EXPECT_GE(taken, milliseconds(267));
    EXPECT_LT(taken, milliseconds(2000));
}

// The sender of another author, with 128-byte or 1024-byte blocks filled with 0x1A.
class ForeignSender : public Transfer, public testing::WithParamInterface<const char*> {};

TEST_P(ForeignSender, BringsItsFileAcross) {
    const Bytes file = imageOf(5000, {1, 2, 3}, {1, 2, 3, 4});
    simulator.file("image.bin", std::string(file.begin(), file.end()));
    Peer peer = begin();

    const std::string path = simulator.path("image.bin");
    std::string program = SX_PROGRAM;
    std::string option = GetParam();
    std::string name = path;
    std::vector<char*> argv = {program.data(), option.data(), name.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, peer.descriptor(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, peer.descriptor(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 1, 0);
    pid_t sender = -1;
    ASSERT_EQ(posix_spawn(&sender, SX_PROGRAM, &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    ASSERT_EQ(waitpid(sender, &status, 0), sender);

    EXPECT_EQ(status, 0);
    const Bytes got = stored();
    ASSERT_EQ(got.size(), 5120U);
    EXPECT_TRUE(std::equal(file.begin(), file.end(), got.begin()));
    EXPECT_EQ(got.back(), 0x1A);
    EXPECT_EQ(simulator.mcu("ARM1").at("version"), "321");
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, ForeignSender, testing::Values("-k", "-b"));

}  // namespace
