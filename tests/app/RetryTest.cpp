#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/MCUUpdateTool.h"
#include "app/UpdateJob.h"
#include "mcu/UpdateNote.h"
#include "tests/ScarceMemory.h"
#include "tests/app/ConfigText.h"
#include "tests/app/FakeMcu.h"
#include "tests/app/JobFolder.h"
#include "tests/app/SleepHook.h"
#include "tests/mcu/NoteFile.h"
#include "tests/technic/FullPool.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr long kSecond = 1000;
constexpr char kMarker[] = "MCUUpdateSuccess";

// The driver's waits, in milliseconds, end at once and are remembered. Other threads sleep as ever.
class DriverWaits : public SleepHook {
  public:
    // `inWait` is called in every wait, with its length and how many of that length there were.
    using InWait = std::function<void(long milliseconds, std::ptrdiff_t count)>;
    explicit DriverWaits(InWait inWait = [](long, std::ptrdiff_t) {})
        : m_inWait(std::move(inWait)) {}

    const std::vector<long>& all() const { return m_waits; }

    long beforeSleep(long milliseconds) override {
        if (gettid() != m_owner || milliseconds < kSecond) {
            return milliseconds;
        }
        m_waits.push_back(milliseconds);
        m_inWait(milliseconds, std::count(m_waits.begin(), m_waits.end(), milliseconds));
        return 0;
    }

  private:
    const pid_t m_owner = gettid();
    const InWait m_inWait;
    std::vector<long> m_waits;
};

int countOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

class Retry : public testing::Test {
  protected:
    void SetUp() override {
        UpdateNote::remove();
        writeFile("arm3.bin", firmware());
        configure({completeEntry()});
    }
    static void configure(const std::vector<Attributes>& entries) {
        writeFile("config.xml", configText(with(completeParam(), "deviceName", "line"), entries));
    }
};

TEST_F(Retry, OfAFileComesFiveTimesAfterFiveSecondsAndOfTheListAfterTwenty) {
    const DriverWaits waits;
    EXPECT_FALSE(runJob(1, {"config.xml", "", 0}));
    EXPECT_THAT(waits.all(),
                ElementsAre(5000, 5000, 5000, 5000, 5000, 20000, 5000, 5000, 5000, 5000, 5000));
}

TEST_F(Retry, OfTheListComesOnlyAfterAFailure) {
    configure({with(completeEntry(), "fileName", "missing.bin")});
    const DriverWaits waits;
    EXPECT_TRUE(runJob(1, {"config.xml", "", 0}));
    EXPECT_THAT(waits.all(), IsEmpty());
}

TEST_F(Retry, ThatCannotBeMadeIsAFailedRun) {
    writeFile(kMarker, "of an earlier job");
    std::optional<FullPool> pool;
    const DriverWaits waits([&](long milliseconds, std::ptrdiff_t) {
        if (milliseconds == 20 * kSecond) {
            pool.emplace();
        }
    });
    EXPECT_FALSE(runJob(1, {"config.xml", "", 0}));
    pool.reset();
    EXPECT_THAT(waits.all(), ElementsAre(5000, 5000, 5000, 5000, 5000, 20000));
    EXPECT_EQ(countOf(noteText(), "update failed!\n\n\n\n"), 2);
    EXPECT_FALSE(exists(kMarker));
}

TEST_F(Retry, IsNotNeededWhenTheWatchdogAloneHasNoMemory) {
    configure({with(completeEntry(), "fileName", "missing.bin")});
    const ScarceMemory scarce("KdThread.cpp");
    EXPECT_TRUE(runJob(1, {"config.xml", "", 0}));
    EXPECT_TRUE(exists(kMarker));
}

TEST_F(Retry, IsNotNeededForAJobThatCannotBegin) {
    writeFile(kMarker, "of an earlier job");
    const FullPool pool;
    const DriverWaits waits;
    EXPECT_FALSE(runJob(1, {"config.xml", "", 0}));
    EXPECT_THAT(waits.all(), IsEmpty());
    EXPECT_TRUE(exists(kMarker));
}

// Entries for the hardware that the FakeMcu below has, and for another.
Attributes entryForTheMcu() {
    return with(with(completeEntry(), "hardwareInfoPosition", "21"), "hardwareInfoLength", "2");
}
Attributes entryForAnother() {
    return completeEntry();
}

class RetryOverALine : public Retry {
  protected:
    void SetUp() override {
        Retry::SetUp();
        m_mcu.answer(FakeMcu::kHardware, {{0xFE, 0x06, 0x0C, 0x02, 0x0C, 0xAB, 0xCB, 0xFF}});
        m_mcu.answer(FakeMcu::kVersion, {{0xFE, 0x06, 0x02, 0x03, 0x02, 0x0A, 0x05, 0x1C, 0xFF}});
        m_mcu.start();
    }
    void plugIn() const { std::filesystem::create_symlink(m_mcu.line().path(), "line"); }
    static void pullOut() { std::filesystem::remove("line"); }

    bool updateAll(const std::vector<Attributes>& entries) {
        configure(entries);
        MCUUpdateTool tool;
        tool.setConfigFile("config.xml");
        tool.setTimeout(10);
        return tool.loadConfig() && tool.updateAll();
    }

    FakeMcu m_mcu;
};

TEST_F(RetryOverALine, IsCountedAnewForEveryFile) {
    const DriverWaits waits([this](long milliseconds, std::ptrdiff_t count) {
        if (milliseconds == 5 * kSecond && count == 3) {
            plugIn();
        } else if (milliseconds == 5 * kSecond && count == 4) {
            pullOut();
        }
    });
    EXPECT_TRUE(updateAll(
        {with(entryForTheMcu(), "armName", "Late"), with(entryForAnother(), "armName", "Never")}));
    EXPECT_EQ(countOf(noteText(), "The Update ARMName :Late ,"), 4);
    EXPECT_EQ(countOf(noteText(), "The Update ARMName :Never ,"), 6);
}

TEST_F(RetryOverALine, FindsNoMarkerUntilTheSecondRunSucceeds) {
    writeFile(kMarker, "of an earlier job");
    configure({entryForTheMcu()});
    bool existsBetweenTheRuns = true;
    const DriverWaits waits([&](long milliseconds, std::ptrdiff_t) {
        if (milliseconds == 20 * kSecond) {
            existsBetweenTheRuns = exists(kMarker);
            plugIn();
        }
    });
    EXPECT_TRUE(runJob(1, {"config.xml", "", 10}));
    EXPECT_FALSE(existsBetweenTheRuns);
    EXPECT_TRUE(exists(kMarker));
    EXPECT_EQ(readFile(kMarker), "");
}

std::ptrdiff_t threadCount() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

TEST_F(RetryOverALine, ComesAfterAWaitInWhichTheUpdaterStillKeepsUploadsStopped) {
    plugIn();
    const std::ptrdiff_t before = threadCount();
    std::ptrdiff_t inTheWait = 0;
    const DriverWaits waits([&inTheWait](long milliseconds, std::ptrdiff_t count) {
        if (milliseconds == 5 * kSecond && count == 1) {
            inTheWait = threadCount();
            pullOut();
        }
    });
    EXPECT_FALSE(updateAll({entryForAnother()}));
    EXPECT_EQ(inTheWait, before + 1);
}

}  // namespace
