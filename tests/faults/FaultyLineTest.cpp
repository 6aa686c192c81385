#include "tests/faults/FaultyLine.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "tests/e2e/SimulatedLine.h"

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const Bytes kVersionRequest{0xFE, 0x06, 0x01, 0x01, 0x01, 0x09, 0xFF};
const Bytes kUpdateRequest{0xFE, 0x05, 0x05, 0x01, 0x01, 0x0C, 0xFF};
const Bytes kVersionReply{0xFE, 0x06, 0x02, 0x03, 0x02, 0x0A, 0x05, 0x1C, 0xFF};

// A line with one MCU, and its device opened as a tool would.
class LineWithFaults : public testing::Test {
  protected:
    void connect(std::vector<LineFault> faults) {
        fs::remove_all(m_directory);
        fs::create_directories(m_directory);
        writeText(m_directory / "mcus.json", R"({"mcus": [{"name": "ARM1", "target": 1,
            "hardware": "a1b2", "version": [2, 10, 5], "telemetry": false, "state": "boot",
            "xmodem": {"start_delay_ms": 0}}]})");
        Options options;
        options.config = m_directory / "mcus.json";
        options.timeScale = kScale;
        m_line = std::make_unique<FaultyLine>(options, m_directory / "ttyS1", "/dev/pts",
                                              std::move(faults));
        open();
    }

    void open() {
        const fs::path device = m_directory / "ttyS1";
        m_device = FileDescriptor(::open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK));
    }

    void send(const Bytes& bytes) const {
        ASSERT_EQ(write(m_device.get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }

    // What comes while the line turns for that long.
    Bytes receive(milliseconds time = milliseconds(60)) {
        Bytes received;
        const auto end = FaultyLine::Clock::now() + time;
        while (FaultyLine::Clock::now() < end) {
            m_line->turn(milliseconds(5));
            std::array<std::uint8_t, 256> chunk{};
            const ssize_t count = read(m_device.get(), chunk.data(), chunk.size());
            received.insert(received.end(), chunk.begin(),
                            chunk.begin() + std::max<ssize_t>(count, 0));
        }
        return received;
    }

    Bytes ask() {
        send(kVersionRequest);
        return receive();
    }

    static constexpr double kScale = 20;
    const fs::path m_directory = directoryOfThisTest(FAULTS_DIRECTORY);
    std::unique_ptr<FaultyLine> m_line;
    FileDescriptor m_device;
};

Bytes replyWith(std::size_t place, const Bytes& instead) {
    Bytes reply(kVersionReply.begin(), kVersionReply.begin() + static_cast<std::ptrdiff_t>(place));
    reply.insert(reply.end(), instead.begin(), instead.end());
    reply.insert(reply.end(), kVersionReply.begin() + static_cast<std::ptrdiff_t>(place) + 1,
                 kVersionReply.end());
    return reply;
}

TEST_F(LineWithFaults, CarriesEverythingUnchangedWithoutOne) {
    connect({});
    EXPECT_EQ(ask(), kVersionReply);
    EXPECT_THAT(m_line->happened(), IsEmpty());
}

TEST_F(LineWithFaults, LosesTheByteThatIsDropped) {
    connect({{FaultKind::Drop, 0, "mcu:version#1:6"}});
    EXPECT_EQ(ask(), replyWith(6, {}));
    EXPECT_EQ(ask(), kVersionReply);
}

TEST_F(LineWithFaults, InvertsTheBitThatIsFlipped) {
    connect({{FaultKind::Flip, 3, "mcu:version#1:6"}});
    EXPECT_EQ(ask(), replyWith(6, {0x05 ^ 0x08}));
}

TEST_F(LineWithFaults, PutsAnotherByteInPlaceOfTheReplacedOne) {
    connect({{FaultKind::Replace, 0xFE, "mcu:version#1:6"}});
    EXPECT_EQ(ask(), replyWith(6, {0xFE}));
}

TEST_F(LineWithFaults, CarriesADuplicatedByteTwice) {
    connect({{FaultKind::Duplicate, 0, "mcu:version#1:6"}});
    EXPECT_EQ(ask(), replyWith(6, {0x05, 0x05}));
}

TEST_F(LineWithFaults, InsertsNoiseBeforeTheByte) {
    const LineFault fault{FaultKind::Noise, 9, "mcu:version#1:6"};
    connect({fault});
    Bytes noiseAndByte = noiseOf(fault);
    noiseAndByte.push_back(0x05);
    EXPECT_EQ(ask(), replyWith(6, noiseAndByte));
}

TEST_F(LineWithFaults, InsertsNoiseIntoAWait) {
    const LineFault fault{FaultKind::Noise, 9, "wait:mcu:version#1:8"};
    connect({fault});
    EXPECT_EQ(ask(), [&] {
        Bytes reply = kVersionReply;
        const Bytes noise = noiseOf(fault);
        reply.insert(reply.end(), noise.begin(), noise.end());
        return reply;
    }());
}

TEST_F(LineWithFaults, AltersWhatTheMcusHear) {
    connect({{FaultKind::Drop, 0, "tool:version#1:4"}});
    EXPECT_THAT(ask(), IsEmpty());
    EXPECT_EQ(ask(), kVersionReply);
}

TEST_F(LineWithFaults, HoldsAReplyBackFromTheByteOn) {
    connect({{FaultKind::Delay, 3, "mcu:version#1:4"}});
    EXPECT_THAT(ask(), ElementsAre(0xFE, 0x06, 0x02, 0x03));
    EXPECT_EQ(receive(milliseconds(200)), Bytes(kVersionReply.begin() + 4, kVersionReply.end()));
}

TEST_F(LineWithFaults, IsSilentUntilItIsLifted) {
    connect({{FaultKind::Silence, 0, "mcu:version#1:4"}});
    EXPECT_THAT(ask(), SizeIs(4));
    EXPECT_THAT(ask(), IsEmpty());
    m_line->lift();
    EXPECT_EQ(ask(), kVersionReply);
}

TEST_F(LineWithFaults, FindsMcusDeafThatLoseTheirPower) {
    connect({{FaultKind::PowerCycle, 0, "tool:version#1:6"}});
    send(kVersionRequest);
    EXPECT_THAT(receive(milliseconds(10)), IsEmpty());
    (void)receive(milliseconds(100));
    EXPECT_EQ(ask(), kVersionReply);
}

TEST_F(LineWithFaults, AsksForTheToolToBeKilledAndCarriesNothingMore) {
    connect({{FaultKind::Kill, 0, "mcu:version#1:4"}});
    EXPECT_FALSE(m_line->killWanted());
    EXPECT_THAT(ask(), SizeIs(4));
    EXPECT_TRUE(m_line->killWanted());
}

TEST_F(LineWithFaults, HangsUpWhenTheDeviceIsUnplugged) {
    connect({{FaultKind::Unplug, 0, "mcu:version#1:4"}});
    (void)ask();
    EXPECT_EQ(write(m_device.get(), "x", 1), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_FALSE(fs::is_symlink(m_directory / "ttyS1"));
}

TEST_F(LineWithFaults, HasTheDeviceBackAfterATime) {
    connect({{FaultKind::Unplug, 2, "mcu:version#1:4"}});
    (void)ask();
    (void)receive(milliseconds(200));
    open();
    EXPECT_EQ(ask(), kVersionReply);
}

TEST_F(LineWithFaults, HasTheDeviceBackWhenItIsLifted) {
    connect({{FaultKind::Unplug, 0, "mcu:version#1:4"}});
    (void)ask();
    m_line->lift();
    open();
    EXPECT_EQ(ask(), kVersionReply);
}

TEST_F(LineWithFaults, NamesItsEventsInOrder) {
    connect({});
    (void)ask();
    EXPECT_THAT(m_line->events(),
                testing::IsSupersetOf({"tool:version#1:0", "tool:version#1:6", "mcu:version#1:0",
                                       "mcu:version#1:8", "wait:mcu:version#1:8"}));
}

TEST_F(LineWithFaults, KnowsAnAcknowledgementThatNoMcuGave) {
    connect({{FaultKind::Replace, 0x06, "mcu:update#1:7"}});
    send(kUpdateRequest);
    (void)receive();
    EXPECT_TRUE(m_line->acknowledgementForged());
}

TEST_F(LineWithFaults, TakesNoOtherByteForAForgedAcknowledgement) {
    connect({{FaultKind::Replace, 0x15, "mcu:update#1:7"}});
    send(kUpdateRequest);
    (void)receive();
    EXPECT_EQ(m_line->happened().size(), 1U);
    EXPECT_FALSE(m_line->acknowledgementForged());
}

}  // namespace
