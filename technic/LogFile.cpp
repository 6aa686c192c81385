#include "technic/LogFile.h"

#include <cstdio>

namespace {

constexpr std::uint32_t kInitialised = 0x99887766;

}  // namespace

LogFile::LogFile() : m_log({/*dropWhenSizeFails=*/true, /*hasFixedBackup=*/false}) {
    m_mutex.init();
}

LogFile::~LogFile() {
    m_mutex.destroy();
}

void LogFile::init(const std::string& path, std::uint32_t maxSizeBytes, std::uint32_t backupCount) {
    m_log.set(path, maxSizeBytes, backupCount);
    m_initMark = kInitialised;
}

void LogFile::log(const char* category, const char* message) {
    const std::string line = logLine(category, message);
    if (m_initMark != kInitialised) {
        std::printf("Logger is not inition,%s", line.c_str());
        return;
    }
    m_mutex.lock();
    m_log.append(line);
    m_mutex.unlock();
}

void writeLogLine(const std::string& path, const std::string& category, const std::string& message,
                  std::uint32_t maxSizeBytes, std::uint32_t backupCount) {
    LogFile log;
    log.init(path, maxSizeBytes, backupCount);
    log.log(category.c_str(), message.c_str());
}
