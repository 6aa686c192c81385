#include "technic/ThreadInfoManager.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "technic/DevicePaths.h"
#include "technic/LogFile.h"

namespace {

constexpr std::uint32_t kSignalLogBytes = 102400;
constexpr std::uint32_t kSignalLogBackups = 2;

struct SignalText {
    int signo;
    const char* text;
};

// The numbers are those of Linux on ARM.
constexpr std::array<SignalText, 14> kSignalTexts = {{
    {1, "Hangup (POSIX)"},
    {2, "Terminal interrupt (ANSI)"},
    {3, "Terminal quit (POSIX)"},
    {4, "Illegal instruction (ANSI)"},
    {5, "Trace trap (POSIX)"},
    {6, "IOT Trap (4.2 BSD)"},
    {7, "BUS error (4.2 BSD)"},
    {8, "Floating point exception (ANSI)"},
    {9, "Kill(can't be caught or ignored) (POSIX)"},
    {10, "User defined signal 1 (POSIX)"},
    {11, "Invalid memory segment access (ANSI)"},
    {15, "Termination (ANSI)"},
    {16, "Stack fault"},
    {25, "File size limit exceeded (4.2 BSD)"},
}};

}  // namespace

void ThreadInfoManager::registerThread(int tid, const std::string& name, pthread_t handle) {
    const KdMutexGuard guard(m_lock, KD_HERE);
    m_threadNames.emplace(tid, name);
    m_threadHandles.emplace(tid, handle);
}

void ThreadInfoManager::unregisterThread(int tid) {
    const KdMutexGuard guard(m_lock, KD_HERE);
    m_threadNames.erase(tid);
    m_threadHandles.erase(tid);
}

bool ThreadInfoManager::getThreadName(int tid, std::string& name) {
    const KdMutexGuard guard(m_lock, KD_HERE);
    const auto found = m_threadNames.find(tid);
    const bool known = found != m_threadNames.end();
    name = known ? found->second : "UnknownThread";
    return known;
}

void ThreadInfoManager::setThreadName(int tid, const std::string& name) {
    const KdMutexGuard guard(m_lock, KD_HERE);
    m_threadNames.erase(tid);
    m_threadNames.emplace(tid, name);
}

const char* ThreadInfoManager::signalName(int signo) {
    const auto* found = std::find_if(kSignalTexts.begin(), kSignalTexts.end(),
                                     [&](const SignalText& row) { return row.signo == signo; });
    return found == kSignalTexts.end() ? "Unknown SignalId" : found->text;
}

void ThreadInfoManager::writeSignalError(const std::string& text) {
    writeLogLine(device_paths::kSignalErrorLog, "SignalError", text, kSignalLogBytes,
                 kSignalLogBackups);
    std::puts(text.c_str());
}
