#include <gtest/gtest.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

// An MCU whose images another program receives.
namespace {

using nlohmann::json;
using std::chrono::milliseconds;

const char kUpdate[] = "fe050501010cff";
const char kAcceptedAndStart[] = "fe050601000cff43";
const char kStopUpload[] = "fe050701000dff";
const char kState[] = "fe0501010108ff";
const char kInBoot[] = "fe0502010109ff";
const char kInApplication[] = "fe0502010008ff";
const Bytes kEot{0x04};

// A receiver that takes one block, whatever it is, and an end, and acknowledges both.
const char kTakesAnything[] =
    "printf C; head -c 1029 >\"$0\"; printf '\\006'; head -c 1 >>\"$0\"; printf '\\006'";

json shell(const std::string& script) {
    return {"/bin/sh", "-c", script, "FILE"};
}

class ProgramReception : public testing::Test {
  protected:
    // A peer in front of an MCU that waits for the permission in its boot loader.
    Peer begin(const json& receiver, const json& faults = nullptr,
               const json& xmodem = json::object()) {
        json mcu = arm1({{"state", "boot"}, {"xmodem", {{"receiver", receiver}}}});
        mcu["xmodem"].merge_patch(xmodem);
        simulator.startLine({mcu}, faults);
        return Peer::onTerminal(simulator.path("line"));
    }
    static std::string answerTo(Peer& peer, const Bytes& bytes) {
        peer.send(bytes);
        return peer.receive(1);
    }
    std::string whyItEnded() const {
        EXPECT_TRUE(simulator.waitForRecord("transfer ends"));
        for (const json& record : simulator.transcript()) {
            if (record.at("meaning") == "transfer ends") {
                return record.at("detail");
            }
        }
        return "";
    }
    Bytes stored() const { return simulator.readBytes("store/ARM1.bin"); }
    bool partIsLeft() const {
        return std::filesystem::exists(simulator.path("store/ARM1.bin.receiving"));
    }

    SimulatorProcess simulator;
    const json rx = {RX_PROGRAM, "-c", "FILE"};
    const Bytes image = imageOf(1500, {5, 10, 2}, {0x0A, 0x0B, 0x0C, 0x0D});
};

TEST_F(ProgramReception, StoresTheImageAndRunsItsVersion) {
    Peer peer = begin(rx);
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, xmodemBlock(2, partOf(image, 2))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");

    Bytes padded = image;
    padded.resize(2048, 0);
    EXPECT_EQ(stored(), padded);
    EXPECT_EQ(simulator.mcu("ARM1").at("version"), "2105");
    EXPECT_EQ(simulator.mcu("ARM1").at("xmodem").at("blocks_accepted"), 2);
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_FALSE(partIsLeft());
}

TEST_F(ProgramReception, LeavesTheFlashAloneWhenNoBlockComes) {
    Peer peer = begin(rx);
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, kEot), "06");

    EXPECT_EQ(whyItEnded(), "no block came; the flash is as it was");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
}

TEST_F(ProgramReception, GivesTheProgramTheBytesAsTheyCame) {
    Peer peer = begin(shell(kTakesAnything));
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    Bytes sent = xmodemBlock(1, partOf(image, 1));
    sent[700] ^= 1U;
    EXPECT_EQ(answerTo(peer, sent), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");

    sent.push_back(0x04);
    EXPECT_EQ(stored(), sent);
}

TEST_F(ProgramReception, GivesTheProgramWhatTheFaultsLeave) {
    Peer peer = begin(shell(kTakesAnything),
                      {{{"on", "block"}, {"do", "lose"}, {"at", 9}, {"count", 2}},
                       {{"on", "block"}, {"do", "insert"}, {"at", 20}, {"bytes", "aabb"}},
                       {{"on", "block"}, {"do", "damage"}, {"at", 30}, {"mask", 16}}});
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    Bytes arriving = xmodemBlock(1, partOf(image, 1));
    EXPECT_EQ(answerTo(peer, arriving), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");

    arriving[30] ^= 16U;
    arriving.insert(arriving.begin() + 20, {0xAA, 0xBB});
    arriving.erase(arriving.begin() + 9, arriving.begin() + 11);
    arriving.push_back(0x04);
    EXPECT_EQ(stored(), arriving);
}

TEST_F(ProgramReception, AltersTheProgramsAnswersByFaults) {
    Peer peer = begin(shell(kTakesAnything),
                      {{{"on", "start"}, {"do", "noise"}, {"where", "before"}, {"bytes", "77"}},
                       {{"on", "block"}, {"do", "flip"}, {"mask", 128}},
                       {{"on", "eot"}, {"do", "duplicate"}}});
    EXPECT_EQ(peer.ask(kUpdate, 9), "fe050601000cff7743");
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "86");
    peer.send(kEot);
    EXPECT_EQ(peer.receive(2), "0606");
}

TEST_F(ProgramReception, AnswersInTheProgramsPlaceByFaults) {
    Peer peer = begin(shell(kTakesAnything), {{{"on", "block"}, {"n", 1}, {"do", "nak"}}});
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, Bytes(1024, 9))), "15");
    Bytes second = xmodemBlock(1, partOf(image, 1));
    EXPECT_EQ(answerTo(peer, second), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    second.push_back(0x04);
    EXPECT_EQ(stored(), second);
}

TEST_F(ProgramReception, ThatFailsLeavesTheMcuInItsBootLoaderAndMayBeginAnew) {
    Peer peer = begin(rx);
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, Bytes(1024, 7))), "06");
    peer.send("18181818");
    EXPECT_EQ(whyItEnded(), "the receiver ended with status 128");
    (void)peer.receive(1000, milliseconds(200));  // what the receiver said at its end

    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    EXPECT_TRUE(stored().empty());
    EXPECT_FALSE(partIsLeft());
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(ProgramReception, ThatLeavesNoFileLeavesTheMcuInItsBootLoader) {
    Peer peer = begin(shell("printf C"));
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(whyItEnded(), "the receiver left no file");
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(ProgramReception, EndsWhenTheHostAsksAgain) {
    Peer peer = begin(rx);
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    EXPECT_EQ(whyItEnded(), "the host asks again");
    EXPECT_FALSE(partIsLeft());
}

TEST_F(ProgramReception, EndsWhenTheHostIsSilent) {
    Peer peer = begin(rx, nullptr, {{"receiver_limit_ms", 300}});
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(whyItEnded(), "the host was silent for too long");
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(ProgramReception, DoesNotHearAStopUpload) {
    Peer peer = begin(rx);
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    peer.send(kStopUpload);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    peer.send(kEot);
    peer.send(kStopUpload);
    EXPECT_EQ(peer.receive(1), "06");
    EXPECT_EQ(stored(), partOf(image, 1));
}

TEST_F(ProgramReception, NeedsAStore) {
    const json mcu = arm1({{"xmodem", {{"receiver", rx}}}});
    simulator.start({"--config", simulator.file("mcus.json", json{{"mcus", {mcu}}})});
    EXPECT_EQ(simulator.wait(milliseconds(5000)), 1);
    EXPECT_EQ(simulator.errors(), "mcu-simulator: ARM1: a receiver needs the option --store\n");
}

TEST_F(ProgramReception, IsOnRecord) {
    Peer peer = begin(rx);
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, partOf(image, 1))), "06");
    EXPECT_EQ(answerTo(peer, kEot), "06");
    EXPECT_EQ(simulator.story(),
              (std::vector<std::string>{"to-mcu update request", "from-mcu update reply",
                                        "from-mcu start byte", "to-mcu block 1", "from-mcu ACK",
                                        "to-mcu EOT", "from-mcu ACK"}));
}

TEST_F(ProgramReception, EndsWithTheSimulator) {
    Peer peer = begin(shell("echo $$ >\"$0.pid\"; printf C; exec sleep 100"));
    EXPECT_EQ(peer.ask(kUpdate, 8), kAcceptedAndStart);
    const std::string id = simulator.readText("store/ARM1.bin.receiving.pid");
    ASSERT_GT(std::stoi(id), 0);
    ASSERT_EQ(simulator.terminate(), 0);
    EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(std::stoi(id))));
}

}  // namespace
