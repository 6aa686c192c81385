#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "technic/KdMutex.h"
#include "technic/RotatingLog.h"

// The caller's source file and line.
struct SourceLocation {
    const char* file;
    int line;
};

// The process-wide text log. Until init it prints to standard output behind "Logger is not
// inition,"; then it appends to a rotating file. It is for rare events: every line opens and closes
// the file. No failure is reported. Any thread.
class SystemLogger {
  public:
    static SystemLogger& instance();

    // Opens nothing. `backupCount` backups are kept; 0xFFFFFFFF uses the same single one each time.
    // Returns 1. There is no way back.
    int init(const std::string& path, std::uint32_t maxSizeKB, std::uint32_t backupCount);

    void log(const char* category, const char* message);
    // The message with ",in FILE,line LINE" behind it.
    void log(const char* category, const char* message, const char* file, int line);
    // Formatted; at most 1023 characters, one line end at the end is taken off.
    void logf(const SourceLocation& where, const char* category, const char* format, ...)
        __attribute__((format(printf, 4, 5)));

  private:
    SystemLogger() = default;

    RotatingLog m_log{{/*dropWhenSizeFails=*/false, /*hasFixedBackup=*/true}};
    KdMutex m_mutex;
    std::atomic<std::uint32_t> m_initMark{0};
};
