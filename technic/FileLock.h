#pragma once

#include <fcntl.h>

// Keeps processes from each other by a record lock on the first byte of a file, which stands for
// the whole file. The descriptor stays the caller's, who opens and closes it; an exclusive lock
// needs it open for writing, a shared one for reading. Threads of one process do not exclude each
// other.
class FileLock {
  public:
    static constexpr int kShared = 2;

    // `kind` kShared asks for a shared lock, any other value for an exclusive one.
    FileLock(int fd, int kind);

    // Waits for the lock; a signal makes it print "lock wait" and try again a second later.
    // Returns what fcntl returned on success. On an error both print a text that names the
    // descriptor, the error, the line and the file, and throw std::runtime_error with it.
    int lock(const char* file, int line);
    int unlock(const char* file, int line);

    int kind() const { return m_kind; }

  private:
    [[noreturn]] void fail(const char* format, int error, const char* file, int line) const;

    int m_fd;
    int m_kind;
    struct flock m_lockRecord {};
    struct flock m_unlockRecord {};
};
