#pragma once

#include <cstdint>
#include <string>

#include "technic/BufferedFile.h"

// The line of every event log: time stamp, ",[", category, "] ", text, line end.
std::string logLine(const char* category, const char* text);

// A log file that is opened, appended to and closed again for every line, and moved to a numbered
// backup when it has reached its size limit: the line that finds it too large is the first of the
// new file. Failures drop the line without a report. The owner serialises its use.
class RotatingLog {
  public:
    // As a number of backups: always the same single one.
    static constexpr std::uint32_t kOneFixedBackup = 0xFFFFFFFF;

    // Backups are "path.1" to "path.N" for N = `backupCount`; 0 is taken as 1.
    void set(const std::string& path, std::uint32_t maxSizeBytes, std::uint32_t backupCount);
    void append(const std::string& line);

    // What becomes of a line when the file's size cannot be told.
    void dropWhenSizeFails(bool drop) { m_dropWhenSizeFails = drop; }

  private:
    bool makeRoom(BufferedFile& file);

    std::string m_path;
    std::uint32_t m_backupCount = 1;
    std::uint32_t m_maxSize = 0;
    std::uint32_t m_backupIndex = 0;
    bool m_dropWhenSizeFails = false;
};
