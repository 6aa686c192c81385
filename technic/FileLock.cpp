#include "technic/FileLock.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <stdexcept>

#include "technic/TimeUtil.h"

namespace {

constexpr long kRetrySeconds = 1;

struct flock firstByte(int type) {
    struct flock record {};
    record.l_type = static_cast<short>(type);
    record.l_whence = SEEK_SET;
    record.l_start = 0;
    record.l_len = 1;
    return record;
}

}  // namespace

FileLock::FileLock(int fd, int kind)
    : m_fd(fd),
      m_kind(kind),
      m_lockRecord(firstByte(kind == kShared ? F_RDLCK : F_WRLCK)),
      m_unlockRecord(firstByte(F_UNLCK)) {}

int FileLock::lock(const char* file, int line) {
    int result = fcntl(m_fd, F_SETLKW, &m_lockRecord);
    while (result < 0 && errno == EINTR) {
        std::puts("lock wait");
        sleepFor(kRetrySeconds, 0);
        result = fcntl(m_fd, F_SETLKW, &m_lockRecord);
    }
    if (result < 0) {
        fail("FileLock(0x%x) lock error,errno=%d,lock at line %d of %s ", errno, file, line);
    }
    return result;
}

int FileLock::unlock(const char* file, int line) {
    const int result = fcntl(m_fd, F_SETLKW, &m_unlockRecord);
    if (result < 0) {
        // "lock at" is kept in the unlock text as well.
        fail("FileLock(0x%x) unlock error,errno=%d,lock at line %d of %s ", errno, file, line);
    }
    return result;
}

void FileLock::fail(const char* format, int error, const char* file, int line) const {
    std::array<char, 256> text{};
    (void)std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(m_fd), error, line,
                        file);
    std::puts(text.data());
    throw std::runtime_error(text.data());
}
