#include "technic/ThreadInfoManager.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "technic/DevicePaths.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/RunOnThreads.h"
#include "tests/technic/RunningSystem.h"

namespace {

// No kernel hands these out.
constexpr int kId = 0x7FFFFF01;
constexpr int kOtherId = 0x7FFFFF02;

class ThreadRegistry : public testing::Test {
  protected:
    ~ThreadRegistry() override {
        m_registry.unregisterThread(kId);
        m_registry.unregisterThread(kOtherId);
    }
    // "+" before the name of a known thread, "-" before that of an unknown one.
    std::string nameOf(int tid) {
        std::string name = "untouched";
        return (m_registry.getThreadName(tid, name) ? "+" : "-") + name;
    }

    ThreadInfoManager& m_registry = *ThreadInfoManager::instance();
};

// They are the first to ask for it, since each test is a process of its own.
TEST(ThreadRegistryInstance, IsOneForAllThreads) {
    std::vector<ThreadInfoManager*> found(8);
    runOnThreads(found.size(),
                 [&found](std::size_t index) { found[index] = ThreadInfoManager::instance(); });
    EXPECT_NE(found[0], nullptr);
    EXPECT_EQ(found, std::vector<ThreadInfoManager*>(8, found[0]));
}

TEST_F(ThreadRegistry, KnowsARegisteredThread) {
    m_registry.registerThread(kId, "one", pthread_self());
    m_registry.registerThread(kOtherId, "two", 0);
    EXPECT_EQ(nameOf(kId), "+one");
    EXPECT_EQ(nameOf(kOtherId), "+two");
}

TEST_F(ThreadRegistry, UnknownThreadHasASpareName) {
    EXPECT_EQ(nameOf(kId), "-UnknownThread");
}

TEST_F(ThreadRegistry, ForgetsAThreadThatLeaves) {
    m_registry.registerThread(kId, "one", 0);
    m_registry.unregisterThread(kId);
    EXPECT_EQ(nameOf(kId), "-UnknownThread");
}

TEST_F(ThreadRegistry, IdThatIsThereKeepsItsName) {
    m_registry.registerThread(kId, "one", 0);
    m_registry.registerThread(kId, "two", 0);
    EXPECT_EQ(nameOf(kId), "+one");
}

TEST_F(ThreadRegistry, NameCanBeReplacedOrEntered) {
    m_registry.registerThread(kId, "one", 0);
    m_registry.setThreadName(kId, "two");
    m_registry.setThreadName(kOtherId, "three");
    EXPECT_EQ(nameOf(kId), "+two");
    EXPECT_EQ(nameOf(kOtherId), "+three");
}

TEST_F(ThreadRegistry, LeavingTwiceIsHarmless) {
    m_registry.registerThread(kId, "one", 0);
    m_registry.unregisterThread(kId);
    m_registry.unregisterThread(kId);
    EXPECT_EQ(nameOf(kId), "-UnknownThread");
}

struct SignalCase {
    int signo;
    const char* text;
};

void PrintTo(const SignalCase& row, std::ostream* out) {
    *out << row.signo;
}

class SignalName : public testing::TestWithParam<SignalCase> {};

TEST_P(SignalName, Is) {
    EXPECT_STREQ(ThreadInfoManager::signalName(GetParam().signo), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Known, SignalName,
    testing::Values(SignalCase{1, "Hangup (POSIX)"}, SignalCase{2, "Terminal interrupt (ANSI)"},
                    SignalCase{3, "Terminal quit (POSIX)"},
                    SignalCase{4, "Illegal instruction (ANSI)"},
                    SignalCase{5, "Trace trap (POSIX)"}, SignalCase{6, "IOT Trap (4.2 BSD)"},
                    SignalCase{7, "BUS error (4.2 BSD)"},
                    SignalCase{8, "Floating point exception (ANSI)"},
                    SignalCase{9, "Kill(can't be caught or ignored) (POSIX)"},
                    SignalCase{10, "User defined signal 1 (POSIX)"},
                    SignalCase{11, "Invalid memory segment access (ANSI)"},
                    SignalCase{15, "Termination (ANSI)"}, SignalCase{16, "Stack fault"},
                    SignalCase{25, "File size limit exceeded (4.2 BSD)"}));

INSTANTIATE_TEST_SUITE_P(
    Unknown, SignalName,
    testing::Values(SignalCase{-1, "Unknown SignalId"}, SignalCase{0, "Unknown SignalId"},
                    SignalCase{12, "Unknown SignalId"}, SignalCase{13, "Unknown SignalId"},
                    SignalCase{14, "Unknown SignalId"}, SignalCase{17, "Unknown SignalId"},
                    SignalCase{24, "Unknown SignalId"}, SignalCase{26, "Unknown SignalId"},
                    SignalCase{64, "Unknown SignalId"}));

TEST(SignalLog, RecordsAndPrintsTheText) {
    const RunningSystem system;
    StdoutCapture capture;
    ThreadInfoManager::writeSignalError("thread(x) received");
    EXPECT_EQ(capture.text(), "thread(x) received\n");
    EXPECT_EQ(withoutTimes(contentOf(device_paths::kSignalErrorLog)),
              "TIME,[SignalError] thread(x) received\n");
}

TEST(SignalLog, OfLessThan102400BytesIsWrittenOn) {
    const RunningSystem system;
    const StdoutCapture quiet;
    writeContent(device_paths::kSignalErrorLog, std::string(102399, 'x'));
    ThreadInfoManager::writeSignalError("one");
    EXPECT_EQ(withoutTimes(contentOf(device_paths::kSignalErrorLog)),
              std::string(102399, 'x') + "TIME,[SignalError] one\n");
}

TEST(SignalLog, Of102400BytesIsMovedAside) {
    const RunningSystem system;
    const StdoutCapture quiet;
    writeContent(device_paths::kSignalErrorLog, std::string(102400, 'x'));
    ThreadInfoManager::writeSignalError("one");
    const std::string backup = std::string(device_paths::kSignalErrorLog) + ".1";
    EXPECT_EQ(withoutTimes(contentOf(device_paths::kSignalErrorLog)), "TIME,[SignalError] one\n");
    EXPECT_EQ(contentOf(backup), std::string(102400, 'x'));
    std::filesystem::remove(backup);
}

}  // namespace
