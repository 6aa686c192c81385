#include "technic/SystemLogger.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "technic/TrackedAlloc.h"

namespace {

constexpr std::uint32_t kInitialised = 0x99887766;
constexpr std::uint32_t kBytesPerKilobyte = 1024;

}  // namespace

SystemLogger& SystemLogger::instance() {
    // Never destroyed: threads may log until the process is gone.
    static SystemLogger& logger = *new (KD_HERE) SystemLogger;
    return logger;
}

int SystemLogger::init(const std::string& path, std::uint32_t maxSizeKB,
                       std::uint32_t backupCount) {
    const KdMutexGuard guard(m_mutex, KD_HERE);
    m_log.set(path, maxSizeKB * kBytesPerKilobyte, backupCount);
    m_initMark.store(kInitialised, std::memory_order_release);
    return 1;
}

void SystemLogger::log(const char* category, const char* message) {
    const std::string line = logLine(category, message);
    if (m_initMark.load(std::memory_order_acquire) != kInitialised) {
        std::printf("Logger is not inition,%s", line.c_str());
        return;
    }
    const KdMutexGuard guard(m_mutex, "SystemLogger.cpp", 44);
    m_log.append(line);
}

void SystemLogger::log(const char* category, const char* message, const char* file, int line) {
    const std::string text = std::string(message) + ",in " + file + ",line " + std::to_string(line);
    log(category, text.c_str());
}

void SystemLogger::logf(const SourceLocation& where, const char* category, const char* format,
                        ...) {
    std::array<char, 1025> text{};
    constexpr std::size_t kFormatterSize = 1024;
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text.data(), kFormatterSize, format, arguments);
    va_end(arguments);
    if (length < 1) {
        std::strcpy(text.data(), "too many message, cannot print");
    } else if (length != 1 && static_cast<std::size_t>(length) < kFormatterSize &&
               text[static_cast<std::size_t>(length) - 1] == '\n') {
        // A message of "\n" alone stays as it is.
        text[static_cast<std::size_t>(length) - 1] = '\0';
    }
    log(category, text.data(), where.file, where.line);
}
