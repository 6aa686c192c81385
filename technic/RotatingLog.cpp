#include "technic/RotatingLog.h"

#include <cstdio>

#include "technic/CancelGuard.h"
#include "technic/TimeUtil.h"

namespace {

constexpr unsigned kAppendFlags = BufferedFile::kWrite | BufferedFile::kAppend;
constexpr int kYearFirst = 2;
constexpr std::uint32_t kOneFixedBackup = 0xFFFFFFFF;

}  // namespace

std::string logLine(const char* category, const char* text) {
    return currentTimeString(kYearFirst) + ",[" + category + "] " + text + "\n";
}

void RotatingLog::set(const std::string& path, std::uint32_t maxSizeBytes,
                      std::uint32_t backupCount) {
    m_path = path;
    m_maxSize = maxSizeBytes;
    m_backupCount = backupCount == 0 ? 1 : backupCount;
}

void RotatingLog::append(const std::string& line) {
    const CancelGuard whole;
    BufferedFile file;
    if (!file.open(m_path.c_str(), kAppendFlags) || !makeRoom(file)) {
        return;
    }
    (void)file.write(line.data(), line.size());
    (void)file.flush();
    (void)file.close();
}

// False when the line must be dropped.
bool RotatingLog::makeRoom(BufferedFile& file) {
    const long long size = file.size();
    if (size < 0) {
        return !m_rules.dropWhenSizeFails;
    }
    if (size < static_cast<long long>(m_maxSize)) {
        return true;
    }
    (void)file.close();
    const std::string backup = m_path + "." + std::to_string(m_backupIndex + 1);
    (void)std::remove(backup.c_str());
    (void)std::rename(m_path.c_str(), backup.c_str());
    if (!file.open(m_path.c_str(), kAppendFlags)) {
        return false;
    }
    const bool isFixed = m_rules.hasFixedBackup && m_backupCount == kOneFixedBackup;
    m_backupIndex = isFixed ? 0 : (m_backupIndex + 1) % m_backupCount;
    return true;
}
