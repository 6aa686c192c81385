// The failure function behind assert is declared in builds without assertions as well.
#undef NDEBUG

#include "technic/GThread.h"

#include <cxxabi.h>
#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "technic/DevicePaths.h"
#include "technic/GThreadFIFOComm.h"
#include "technic/LogFile.h"
#include "technic/SystemControl.h"
#include "technic/ThreadId.h"
#include "technic/TimeUtil.h"

namespace {

constexpr unsigned kDefaultTimeoutSeconds = 210;
constexpr long long kHeartbeatSpacingSeconds = 60;
constexpr int kLastHeartbeatTries = 3;
constexpr int kPipeNotOpened = -202;
constexpr int kWorkFailed = 1;
constexpr std::uint32_t kExceptionLogBytes = 10240;
constexpr std::uint32_t kExceptionLogBackups = 1;

// Logs an exception of a work and stops the system with the same text.
void reportException(const std::string& text) {
    GThread::writeThreadException(text);
    setSystemRunningFlag(0, text);
}

// The value of a work, or nothing when it threw; the exception is reported then: a standard one as
// `prefix()` + its message + "]", any other one as `unknown`. A cancelled thread unwinds through.
template <class Prefix>
std::optional<int> callWork(function<int>& work, Prefix prefix, const char* unknown) {
    try {
        return work();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const std::exception& error) {
        reportException(prefix() + error.what() + "]");
    } catch (...) {
        reportException(unknown);
    }
    return std::nullopt;
}

}  // namespace

char GThread::m_ThreadFifoName[128];

GThread::GThread(const function<int>& cycleWork, const std::string& name,
                 const function<int>& setupWork, const function<int>& teardownWork)
    : KdThread(name),
      m_setupWork(setupWork),
      m_teardownWork(teardownWork),
      m_cycleWork(cycleWork),
      m_info(new (KD_HERE) GThreadInfo(name)) {
    setTimeout(kDefaultTimeoutSeconds);
    if (m_ThreadFifoName[0] == '\0') {
        setThreadFifoName(device_paths::kHeartbeatPipe);
    }
}

GThread::~GThread() noexcept(false) {
    if (isRunning()) {
        const std::string text = "force stop " + label(threadId());
        std::puts(text.c_str());
        writeThreadException(text);
    }
    (void)stop();
}

void GThread::setThreadFifoName(const char* p_ThreadFifoName) {
    // Holds in every build, so assert() does not do.
    if (p_ThreadFifoName == nullptr ||
        strnlen(p_ThreadFifoName, sizeof(m_ThreadFifoName)) >= sizeof(m_ThreadFifoName)) {
        __assert_fail(
            "__null != p_ThreadFifoName && strlen(p_ThreadFifoName) < sizeof(m_ThreadFifoName)",
            "GThread.cpp", 399, "static void GThread::setThreadFifoName(const char*)");
    }
    std::strcpy(m_ThreadFifoName, p_ThreadFifoName);
}

void GThread::setTimeout(unsigned int seconds) {
    m_info->setTimeout(seconds);
    setStopTimeout(static_cast<int>(seconds));
}

void GThread::updateHeartbeatName() {
    m_info->setName(getName());
    (void)sendHeartbeat();
}

int GThread::start() {
    const KdMutexGuard guard(m_lock, KD_HERE);
    if (isRunning()) {
        return 1;
    }
    m_tickCount = 0;
    m_cycleCount = 0;
    m_setupDone = true;
    // The id is the caller's: the worker does not exist yet.
    const std::string caller = label(currentThreadId());
    const std::optional<int> result = callWork(
        m_setupWork, [&] { return caller + " setup exception,message["; },
        "GThread setup exception.");
    if (!result) {
        return 0;
    }
    if (*result != 0) {
        writeThreadException(caller + " setup failed. result= " + std::to_string(*result));
        return 0;
    }
    m_info->setState(GThreadInfo::kRunning);
    if (KdThread::start() < 0) {
        m_info->setState(GThreadInfo::kStopped);
        return 0;
    }
    return 1;
}

int GThread::run() {
    openRunGate();
    m_info->setThreadId(static_cast<std::uint32_t>(threadId()));
    (void)sendHeartbeat();
    runCycles();
    m_info->setState(GThreadInfo::kStopped);
    for (int attempt = 0; attempt < kLastHeartbeatTries && sendHeartbeat() != 0; ++attempt) {
    }
    m_cycleLimit = 0;
    return 0;
}

void GThread::runCycles() {
    long long lastHeartbeat = monotonicSeconds();
    long long passStart = lastHeartbeat;
    while (m_info->getState() == GThreadInfo::kRunning && getSystemRunningFlag() != 0) {
        if (!pass()) {
            break;
        }
        const long long now = monotonicSeconds();
        m_longestPass = std::max<std::int64_t>(m_longestPass, now - passStart);
        passStart = now;
        if (now - lastHeartbeat > kHeartbeatSpacingSeconds) {
            (void)sendHeartbeat();
            lastHeartbeat = now;
        }
        if (m_cycleLimit != 0 && --m_cycleLimit == 0) {
            break;
        }
    }
}

// One pass of the loop; false when the work is finished.
bool GThread::pass() {
    const std::uint32_t period = m_cycleInterval + 1;
    if (period == 0 || m_tickCount % period == 0) {
        const std::optional<int> result = callWork(
            m_cycleWork, [&] { return label(threadId()) + " running exception,message["; },
            "GThread running exception.");
        m_lastResult = result.value_or(kWorkFailed);
        ++m_cycleCount;
    } else {
        sleepFor(1, 0);
    }
    ++m_tickCount;
    return m_lastResult == 0;
}

int GThread::stop() {
    const KdMutexGuard guard(m_lock, KD_HERE);
    m_info->setState(GThreadInfo::kStopped);
    stopWait();
    m_cycleLimit = 0;
    m_tickCount = 0;
    if (!m_setupDone) {
        return 0;
    }
    m_setupDone = false;
    return teardown();
}

// Runs on the stopper's thread.
int GThread::teardown() {
    const std::string worker = label(threadId());
    const std::optional<int> result = callWork(
        m_teardownWork, [&] { return worker + " teardown exception,massage["; },
        "GThread teardown exception.");
    if (result && *result != 0) {
        writeThreadException(worker + " teardown failed,result=" + std::to_string(*result));
    }
    return result && *result == 0 ? 1 : 0;
}

// The texts of a failure are composed and dropped: a pipe without a reader is normal while the
// monitor is not running.
int GThread::sendHeartbeat() {
    if (!m_heartbeatEnabled) {
        return 0;
    }
    const std::string entryError = std::strerror(errno);
    GThreadFIFOComm comm(m_ThreadFifoName, FIFOChannel::kWrite);
    if (!comm.open()) {
        const std::string dropped =
            label(threadId()) + " open ThreadCommunication failed! errno=" + std::strerror(errno) +
            ", strerror1=" + entryError;
        return kPipeNotOpened;
    }
    const int result = comm.send(m_info);
    if (result != 0) {
        const std::string dropped = label(threadId()) + " send heartbeat(" +
                                    std::to_string(m_info->getState()) +
                                    ") failed.sendResult = " + std::to_string(result) +
                                    ",FIFO DataSize = " + std::to_string(m_info->serializedSize()) +
                                    ", errno=" + std::strerror(errno) + ", strerror1=" + entryError;
    }
    comm.close();
    return result;
}

std::string GThread::label(int id) const {
    return "thread(" + getName() + "," + std::to_string(id) + ")";
}

void GThread::writeThreadException(const std::string& text) {
    static std::string path = device_paths::kThreadExceptionLog;
    writeLogLine(path, "ThreadException", text, kExceptionLogBytes, kExceptionLogBackups);
}
