#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;

const char kVersion[] = "fe0601010109ff";
const char kVersionReply[] = "fe0602030100000cff";
const char kState[] = "fe0501010108ff";
const char kInApplication[] = "fe0502010008ff";
const char kInBoot[] = "fe0502010109ff";
const char kUpdate[] = "fe050501010cff";
const milliseconds kSilence{150};

class FaultOnTheLine : public testing::Test {
  protected:
    Peer peerOf(const json& fault, const json& changes = json::object()) {
        simulator.startLine({arm1(changes)}, json::array({fault}));
        return Peer::onTerminal(simulator.path("line"));
    }
    // A peer whose MCU waits for the first block.
    Peer receiving(const json& fault) {
        Peer peer = peerOf(fault, {{"state", "boot"}});
        EXPECT_EQ(peer.ask(kUpdate, 8), "fe050601000cff43");
        return peer;
    }
    static std::string answerTo(Peer& peer, const Bytes& bytes) {
        peer.send(bytes);
        return peer.receive(1);
    }
    Bytes stored() const { return simulator.readBytes("store/ARM1.bin"); }

    SimulatorProcess simulator;
};

struct AnswerCase {
    json fault;  // without "on" and "n": it meets the first version request
    std::string first;
};

void PrintTo(const AnswerCase& row, std::ostream* out) {
    *out << row.fault.at("do");
}

class FaultyAnswer : public FaultOnTheLine, public testing::WithParamInterface<AnswerCase> {};

TEST_P(FaultyAnswer, MeetsTheNamedOccurrenceOnly) {
    json fault = {{"on", "version"}, {"n", 1}};
    fault.update(GetParam().fault);
    Peer peer = peerOf(fault);
    peer.send(kVersion);
    EXPECT_EQ(peer.receive(64, kSilence), GetParam().first);
    EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
    EXPECT_TRUE(peer.hearsNothingFor(kSilence));
}

INSTANTIATE_TEST_SUITE_P(
    Table, FaultyAnswer,
    testing::Values(AnswerCase{{{"do", "drop"}}, ""}, AnswerCase{{{"do", "ignore"}}, ""},
                    AnswerCase{{{"do", "delay"}, {"ms", 30}}, kVersionReply},
                    AnswerCase{{{"do", "truncate"}, {"keep", 4}}, "fe060203"},
                    AnswerCase{{{"do", "flip"}, {"at", 8}, {"mask", 1}}, "fe0602030100000cfe"},
                    AnswerCase{{{"do", "duplicate"}}, "fe0602030100000cfffe0602030100000cff"},
                    AnswerCase{{{"do", "noise"}, {"bytes", "0043"}, {"where", "before"}},
                               "0043fe0602030100000cff"},
                    AnswerCase{{{"do", "noise"}, {"bytes", "fe"}}, "fe0602030100000cfffe"},
                    AnswerCase{{{"do", "wrong"}, {"data", "070809"}}, "fe06020307080923ff"},
                    AnswerCase{{{"do", "silent"}, {"ms", 100}}, ""},
                    AnswerCase{{{"do", "vanish"}, {"ms", 100}}, ""},
                    AnswerCase{{{"do", "power-cycle"}}, ""}));

TEST_F(FaultOnTheLine, DelaysAnAnswerByItsTime) {
    Peer peer = peerOf({{"on", "version"}, {"do", "delay"}, {"ms", 300}});
    peer.send(kVersion);
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(200)));
    EXPECT_EQ(peer.receive(9), kVersionReply);
}

TEST_F(FaultOnTheLine, LetsAnotherAnswerOvertakeADelayedOne) {
    Peer peer = peerOf({{"on", "version"}, {"do", "delay"}, {"ms", 100}});
    peer.send(kVersion);
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_EQ(peer.receive(9), kVersionReply);
}

TEST_F(FaultOnTheLine, SilencesAnMcuForEver) {
    Peer peer = peerOf({{"on", "version"}, {"n", 1}, {"do", "silent"}});
    peer.send(kVersion);
    peer.send(kState);
    EXPECT_TRUE(peer.hearsNothingFor(kSilence));
}

TEST_F(FaultOnTheLine, RefusesPermission) {
    Peer peer = peerOf({{"on", "update"}, {"do", "refuse"}}, {{"state", "boot"}});
    EXPECT_EQ(peer.ask(kUpdate, 7), "fe050601010dff");
    EXPECT_TRUE(peer.hearsNothingFor(kSilence));
}

TEST_F(FaultOnTheLine, KeepsAnMcuOutOfItsBootLoader) {
    Peer peer = peerOf({{"on", "set-to-boot"}, {"do", "no-boot"}});
    peer.send("fe050301010aff");
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_FALSE(simulator.readText("transcript.jsonl").empty());
}

TEST_F(FaultOnTheLine, PutsNoiseOnTheLineForAnOrder) {
    Peer peer = peerOf({{"on", "stop-upload"}, {"do", "noise"}, {"bytes", "0102"}});
    EXPECT_EQ(peer.ask("fe050701000dff", 2), "0102");
}

struct TransferCase {
    json fault;  // meets the first block
    std::string answer;
    bool stores;  // whether the same block is taken for stored when it comes again as block 2
};

void PrintTo(const TransferCase& row, std::ostream* out) {
    *out << row.fault.at("do");
}

class FaultyBlock : public FaultOnTheLine, public testing::WithParamInterface<TransferCase> {};

TEST_P(FaultyBlock, IsAnsweredAsTold) {
    json fault = {{"on", "block"}, {"n", 1}};
    fault.update(GetParam().fault);
    Peer peer = receiving(fault);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {1})), GetParam().answer);
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {2})), "06");
    EXPECT_EQ(answerTo(peer, {0x04}), "06");
    ASSERT_EQ(stored().size(), 1024U);
    EXPECT_EQ(stored()[0], GetParam().stores ? 1 : 2);
}

INSTANTIATE_TEST_SUITE_P(Table, FaultyBlock,
                         testing::Values(TransferCase{{{"do", "nak"}}, "15", false},
                                         TransferCase{{{"do", "byte"}, {"value", 67}}, "43", false},
                                         TransferCase{{{"do", "damage"}, {"at", 900}}, "43", false},
                                         TransferCase{{{"do", "flip"}}, "f9", true}));

TEST_F(FaultOnTheLine, CancelsATransferByTheMcu) {
    Peer peer = receiving({{"on", "block"}, {"n", 2}, {"do", "cancel"}});
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {1})), "06");
    peer.send(xmodemBlock(2, {2}));
    EXPECT_EQ(peer.receive(2), "1818");
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(FaultOnTheLine, LosesAnAcknowledgementButNotItsBlock) {
    Peer peer = receiving({{"on", "block"}, {"n", 1}, {"do", "drop"}});
    peer.send(xmodemBlock(1, {1}));
    EXPECT_TRUE(peer.hearsNothingFor(kSilence));
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {1})), "06");
    EXPECT_EQ(simulator.mcu("ARM1").at("xmodem").at("blocks_repeated"), 1);
}

TEST_F(FaultOnTheLine, RefusesEotAndStoresAtTheNext) {
    Peer peer = receiving({{"on", "eot"}, {"n", 1}, {"do", "nak"}});
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {1})), "06");
    EXPECT_EQ(answerTo(peer, {0x04}), "15");
    EXPECT_TRUE(stored().empty());
    EXPECT_EQ(answerTo(peer, {0x04}), "06");
    EXPECT_EQ(stored().size(), 1024U);
}

TEST_F(FaultOnTheLine, SendsAnotherStartByte) {
    Peer peer =
        peerOf({{"on", "start"}, {"n", 1}, {"do", "byte"}, {"value", 33}}, {{"state", "boot"}});
    EXPECT_EQ(peer.ask(kUpdate, 9), "fe050601000cff2143");
}

TEST_F(FaultOnTheLine, LeavesStartBytesOut) {
    Peer peer = peerOf({{"on", "start"}, {"do", "ignore"}}, {{"state", "boot"}});
    EXPECT_EQ(peer.ask(kUpdate, 7), "fe050601000cff");
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(400)));
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {1})), "06");
}

TEST_F(FaultOnTheLine, VanishesInTheMiddleOfATransfer) {
    Peer peer = receiving({{"on", "block"}, {"n", 2}, {"do", "vanish"}, {"ms", 200}});
    EXPECT_EQ(answerTo(peer, xmodemBlock(1, {1})), "06");
    peer.send(xmodemBlock(2, {2}));
    peer.send(xmodemBlock(2, {2}));
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(0)));
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    EXPECT_TRUE(stored().empty());
}

TEST_F(FaultOnTheLine, PowerCyclesInTheMiddleOfATransfer) {
    Peer peer = receiving({{"on", "block"}, {"n", 1}, {"do", "power-cycle"}});
    peer.send(xmodemBlock(1, {1}));
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
}

TEST_F(FaultOnTheLine, StaysOnRecord) {
    Peer peer = peerOf({{"on", "state"}, {"n", 1}, {"do", "flip"}});
    EXPECT_EQ(peer.ask(kState, 7), "010502010008ff");
    const auto records = simulator.transcript();
    EXPECT_EQ(records.at(1).at("meaning"), "fault");
    EXPECT_EQ(records.at(1).at("detail"), "flip on state");
    EXPECT_EQ(records.at(2).at("fault"), "flip");
}

TEST_F(FaultOnTheLine, DividesItsTimesByTheTimeScale) {
    simulator.startLine({arm1()}, {{{"on", "version"}, {"do", "delay"}, {"ms", 60000}}},
                        {"--time-scale", "600"});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
}

}  // namespace
