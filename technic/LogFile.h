#pragma once

#include <cstdint>
#include <string>

#include "technic/MutexCell.h"
#include "technic/RotatingLog.h"

// A short-lived event log: set up, written to, thrown away.
class LogFile {
  public:
    LogFile();
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // See RotatingLog. Opens nothing.
    void init(const std::string& path, std::uint32_t maxSizeBytes, std::uint32_t backupCount);
    // Before init, the line goes to standard output behind "Logger is not inition,".
    void log(const char* category, const char* message);

  private:
    RotatingLog m_log;
    MutexCell m_mutex;
    std::uint32_t m_initMark = 0;
};

// Appends one line to the event log at `path`, through a LogFile of its own. Calls of different
// threads are not serialised against each other.
void writeLogLine(const std::string& path, const std::string& category, const std::string& message,
                  std::uint32_t maxSizeBytes, std::uint32_t backupCount);
