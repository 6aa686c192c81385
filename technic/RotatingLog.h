#pragma once

#include <cstdint>
#include <string>

#include "technic/BufferedFile.h"

// The line of every event log: time stamp, ",[", category, "] ", text, line end.
std::string logLine(const char* category, const char* text);

// A log file that is opened, appended to and closed again for every line, and moved to a numbered
// backup when it has reached its size limit: the line that finds it too large is the first of the
// new file. Failures drop the line without a report. The owner serialises its use; a thread is not
// cancelled in it.
class RotatingLog {
  public:
    // Where the owners of such a log differ.
    struct Rules {
        // Whether a line is dropped when the file's size cannot be told.
        bool dropWhenSizeFails;
        // Whether 0xFFFFFFFF as a number of backups stands for a single one, always the same.
        bool hasFixedBackup;
    };

    explicit RotatingLog(const Rules& rules) : m_rules(rules) {}

    // Backups are "path.1" to "path.N" for N = `backupCount`; 0 is taken as 1.
    void set(const std::string& path, std::uint32_t maxSizeBytes, std::uint32_t backupCount);
    void append(const std::string& line);

  private:
    bool makeRoom(BufferedFile& file);

    const Rules m_rules;
    std::string m_path;
    std::uint32_t m_backupCount = 1;
    std::uint32_t m_maxSize = 0;
    std::uint32_t m_backupIndex = 0;
};
