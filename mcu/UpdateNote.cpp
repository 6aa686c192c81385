#include "mcu/UpdateNote.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "technic/CancelGuard.h"
#include "technic/DevicePaths.h"
#include "technic/MutexCell.h"
#include "technic/WholeTransfer.h"

namespace {

constexpr mode_t kNoteMode = 0644;
// A pipe in the note's place, without a reader or full, is not waited for.
constexpr int kOpenFlags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// The note's descriptor, held from the first message on, as long as the note is where it was:
// opening the file for every message would cost a multiple of looking whether it is there and
// writing it.
class NoteFile {
  public:
    NoteFile() { (void)m_lock.init(); }  // a new cell is never refused

    MutexCell& lock() { return m_lock; }

    // The caller holds the lock.
    void append(const char* text, std::size_t length) {
        const bool isWhole =
            isOpen() && transferWhole(length, [&](std::size_t offset, std::size_t rest) {
                return ::write(m_fd, text + offset, rest);
            });
        // What a full disk does not take is lost: the job goes on without it.
        if (!isWhole && !m_isLossTold) {
            m_isLossTold = true;
            tell("written");
        }
    }

    // The caller holds the lock.
    void remove() {
        close();
        const char* const path = device_paths::kUpdateNoteLog;
        if (::unlink(path) != 0 && ::truncate(path, 0) != 0 && errno != ENOENT) {
            tell("deleted");
        }
    }

  private:
    // The reason is in errno.
    static void tell(const char* what) {
        (void)std::fprintf(stderr, "MCUUpdateTool: the note log %s cannot be %s: %s\n",
                           device_paths::kUpdateNoteLog, what, std::strerror(errno));
    }

    bool isOpen() {
        if (m_fd != -1 && !isInPlace()) {
            close();
        }
        if (m_fd == -1) {
            m_fd = ::open(device_paths::kUpdateNoteLog, kOpenFlags, kNoteMode);
            if (m_fd != -1) {
                (void)::fstat(m_fd, &m_opened);  // zeros, should it fail: opened again next time
            }
        }
        return m_fd != -1;
    }

    // Whether nobody has deleted the note or put another file in its place.
    bool isInPlace() const {
        struct stat found {};
        return ::stat(device_paths::kUpdateNoteLog, &found) == 0 &&
               found.st_dev == m_opened.st_dev && found.st_ino == m_opened.st_ino;
    }

    void close() {
        if (m_fd != -1) {
            (void)::close(m_fd);  // nothing is lost: every write went straight to the file
            m_fd = -1;
            m_opened = {};
        }
    }

    MutexCell m_lock;
    int m_fd = -1;
    bool m_isLossTold = false;
    struct stat m_opened {};
};

// Holds the note for one operation, which a cancelled thread still completes.
class NoteGuard {
  public:
    explicit NoteGuard(NoteFile& note) : m_note(note) { (void)m_note.lock().lock(); }
    ~NoteGuard() { (void)m_note.lock().unlock(); }
    NoteGuard(const NoteGuard&) = delete;
    NoteGuard& operator=(const NoteGuard&) = delete;

  private:
    CancelGuard m_notCancelled;
    NoteFile& m_note;
};

// Never destroyed: a background thread may still write while the process ends.
NoteFile& noteFile() {
    static NoteFile& note = *new NoteFile;
    return note;
}

}  // namespace

void UpdateNote::log(const char* message) {
    NoteFile& note = noteFile();
    const NoteGuard guard(note);
    note.append(message, std::strlen(message));
    (void)std::printf("%s", message);
    (void)std::fflush(stdout);
}

void UpdateNote::remove() {
    NoteFile& note = noteFile();
    const NoteGuard guard(note);
    note.remove();
}
