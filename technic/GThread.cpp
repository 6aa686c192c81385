// The failure function behind assert is declared in builds without assertions as well.
#undef NDEBUG

#include "technic/GThread.h"

#include <cxxabi.h>
#include <algorithm>
#include <cassert>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <optional>

#include "technic/CancelGuard.h"
#include "technic/DevicePaths.h"
#include "technic/GThreadFIFOComm.h"
#include "technic/LogFile.h"
#include "technic/SystemControl.h"
#include "technic/ThreadId.h"
#include "technic/TimeUtil.h"
#include "technic/WithoutBadAlloc.h"

namespace {

constexpr unsigned kDefaultTimeoutSeconds = 210;
constexpr long long kHeartbeatSpacingSeconds = 60;
constexpr int kLastHeartbeatTries = 3;
constexpr int kPipeNotOpened = -202;
constexpr std::uint32_t kExceptionLogBytes = 10240;
constexpr std::uint32_t kExceptionLogBackups = 1;

// What an exception of a work is logged as. A standard one: "thread(", name and id, `standard`, its
// message, "]". Any other one: `other`.
struct ExceptionTexts {
    const char* standard;
    const char* other;
};

constexpr ExceptionTexts kSetupTexts{") setup exception,message[", "GThread setup exception."};
constexpr ExceptionTexts kRunningTexts{") running exception,message[",
                                       "GThread running exception."};
// "massage" is kept: logs are read that way.
constexpr ExceptionTexts kTeardownTexts{") teardown exception,massage[",
                                        "GThread teardown exception."};

// Logs an exception and stops the system with the same text. A worker is not killed meanwhile.
void reportException(const std::string& text) {
    const CancelGuard whole;
    GThread::writeThreadException(text);
    setSystemRunningFlag(0, text);
}

// The value of a work, or nothing when it threw; the exception is reported then. A cancelled thread
// unwinds through; what is caught then has no object, which the sanitizer must not take amiss.
template <class Work>
__attribute__((no_sanitize("null", "alignment"))) std::optional<int> callWork(
    Work&& work, const std::string& thread, const ExceptionTexts& texts) {
    try {
        return work();
    } catch (const std::exception& error) {
        reportException("thread(" + thread + texts.standard + error.what() + "]");
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
        reportException(texts.other);
    }
    return std::nullopt;
}

// Guards the path of the heartbeat pipe. Never destroyed: workers may outlive main.
KdMutex& fifoNameLock() {
    static KdMutex& lock = *new (KD_HERE) KdMutex;
    return lock;
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
    if (threadFifoName().empty()) {
        setThreadFifoName(device_paths::kHeartbeatPipe);
    }
}

GThread::~GThread() noexcept(false) {
    // Whatever there is no memory for, the thread is stopped before its works and its record go.
    if (isRunning()) {
        withoutBadAlloc([this] { reportForcedStop(); });
    }
    withoutBadAlloc([this] { (void)stop(); });
}

void GThread::reportForcedStop() const {
    const std::string text = "force stop thread(" + nameAndId(threadId()) + ")";
    std::puts(text.c_str());
    writeThreadException(text);
}

void GThread::setThreadFifoName(const char* p_ThreadFifoName) {
    constexpr std::size_t kSize = sizeof(m_ThreadFifoName);
    // Holds in every build, so assert() does not do.
    if (p_ThreadFifoName == nullptr || strnlen(p_ThreadFifoName, kSize) >= kSize) {
        __assert_fail(
            "__null != p_ThreadFifoName && strlen(p_ThreadFifoName) < sizeof(m_ThreadFifoName)",
            "GThread.cpp", 399, "static void GThread::setThreadFifoName(const char*)");
    }
    const KdMutexGuard guard(fifoNameLock(), KD_HERE);
    std::memcpy(m_ThreadFifoName, p_ThreadFifoName, strnlen(p_ThreadFifoName, kSize) + 1);
}

std::string GThread::threadFifoName() {
    const KdMutexGuard guard(fifoNameLock(), KD_HERE);
    return m_ThreadFifoName;
}

void GThread::setTimeout(unsigned int seconds) {
    constexpr unsigned kLongestStop = INT_MAX;
    m_info->setTimeout(seconds);
    setStopTimeout(static_cast<int>(std::min(seconds, kLongestStop)));
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
    const std::string caller = nameAndId(currentThreadId());
    const std::optional<int> result = callWork(m_setupWork, caller, kSetupTexts);
    if (!result) {
        return 0;
    }
    if (*result != 0) {
        writeThreadException("thread(" + caller +
                             ") setup failed. result= " + std::to_string(*result));
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
    const std::string worker = nameAndId(threadId());
    m_info->setThreadId(static_cast<std::uint32_t>(threadId()));
    const auto works = [this] {
        (void)sendHeartbeat();
        runCycles();
        return 0;
    };
    (void)callWork(works, worker, kRunningTexts);
    m_info->setState(GThreadInfo::kStopped);
    (void)callWork([this] { return sendLastHeartbeat(); }, worker, kRunningTexts);
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
    const std::uint64_t period = std::uint64_t{m_cycleInterval} + 1;
    if (m_tickCount % period == 0) {
        m_lastResult = m_cycleWork();
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
    const std::string worker = nameAndId(threadId());
    const std::optional<int> result = callWork(m_teardownWork, worker, kTeardownTexts);
    if (result && *result != 0) {
        writeThreadException("thread(" + worker +
                             ") teardown failed,result=" + std::to_string(*result));
    }
    return result && *result == 0 ? 1 : 0;
}

// The result of the last try.
int GThread::sendLastHeartbeat() {
    int result = sendHeartbeat();
    for (int attempt = 1; attempt < kLastHeartbeatTries && result != 0; ++attempt) {
        result = sendHeartbeat();
    }
    return result;
}

// The texts of a failure are composed and dropped: a pipe without a reader is normal while the
// monitor is not running.
int GThread::sendHeartbeat() {
    if (!m_heartbeatEnabled) {
        return 0;
    }
    const std::string entryError = std::strerror(errno);
    GThreadFIFOComm comm(threadFifoName(), FIFOChannel::kWrite);
    if (!comm.open()) {
        const std::string dropped =
            "thread(" + nameAndId(threadId()) +
            ") open ThreadCommunication failed! errno=" + std::strerror(errno) +
            ", strerror1=" + entryError;
        return kPipeNotOpened;
    }
    const int result = comm.send(m_info);
    if (result != 0) {
        const std::string dropped = "thread(" + nameAndId(threadId()) + ") send heartbeat(" +
                                    std::to_string(m_info->getState()) +
                                    ") failed.sendResult = " + std::to_string(result) +
                                    ",FIFO DataSize = " + std::to_string(m_info->serializedSize()) +
                                    ", errno=" + std::strerror(errno) + ", strerror1=" + entryError;
    }
    comm.close();
    return result;
}

std::string GThread::nameAndId(int id) const {
    return getName() + "," + std::to_string(id);
}

void GThread::writeThreadException(const std::string& text) {
    // Never destroyed: a worker may outlive main.
    static std::string& path = *new (KD_HERE) std::string(device_paths::kThreadExceptionLog);
    writeLogLine(path, "ThreadException", text, kExceptionLogBytes, kExceptionLogBackups);
}
