#include "technic/BufferedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "technic/CancelGuard.h"

namespace {

struct OpenMode {
    unsigned flags;
    const char* mode;
    int systemFlags;  // of the same mode
};

// Writing never waits for the reader of a pipe that stands in the file's place.
constexpr int kEmptied = O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK;
constexpr int kAppended = O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK;
constexpr mode_t kNewFileMode = 0666;  // as fopen makes them

// Every accepted set of flags. Writing without truncating appends, with the flag or without it.
constexpr std::array<OpenMode, 8> kOpenModes{{
    {BufferedFile::kRead, "rb", O_RDONLY},
    {BufferedFile::kWrite | BufferedFile::kTruncate, "wb", kEmptied},
    {BufferedFile::kWrite | BufferedFile::kAppend | BufferedFile::kTruncate, "wb", kEmptied},
    {BufferedFile::kWrite, "ab", kAppended},
    {BufferedFile::kWrite | BufferedFile::kAppend, "ab", kAppended},
    {BufferedFile::kUpdate, "r+b", O_RDWR},
    {BufferedFile::kUpdate | BufferedFile::kAppend, "a+b", O_RDWR | O_CREAT | O_APPEND},
    {BufferedFile::kUpdate | BufferedFile::kAppend | BufferedFile::kTruncate, "w+b",
     O_RDWR | O_CREAT | O_TRUNC},
}};

// Null for refused flags.
const OpenMode* modeOf(unsigned flags) {
    for (const OpenMode& row : kOpenModes) {
        if (row.flags == flags) {
            return &row;
        }
    }
    return nullptr;
}

// Null when `path` cannot be opened so.
std::FILE* openStream(const char* path, const OpenMode& mode) {
    const int fd = ::open(path, mode.systemFlags, kNewFileMode);
    if (fd == -1) {
        return nullptr;
    }
    std::FILE* stream = ::fdopen(fd, mode.mode);
    if (stream == nullptr) {
        (void)::close(fd);  // nothing was written
    }
    return stream;
}

}  // namespace

BufferedFile::~BufferedFile() {
    const CancelGuard whole;
    (void)close();  // nobody is left to be told
}

bool BufferedFile::open(const char* path, unsigned flags) {
    (void)close();  // the former file's outcome is asked for by closing it
    const OpenMode* mode = modeOf(flags);
    if (path == nullptr || mode == nullptr) {
        return false;
    }
    m_stream = openStream(path, *mode);
    return m_stream != nullptr;
}

int BufferedFile::close() {
    if (m_stream == nullptr) {
        return 0;
    }
    std::FILE* stream = m_stream;
    m_stream = nullptr;
    return std::fclose(stream) == 0 ? 0 : -1;
}

long BufferedFile::write(const void* buffer, std::size_t size) {
    if (buffer == nullptr || m_stream == nullptr) {
        return -1;
    }
    const std::size_t written = std::fwrite(buffer, 1, size, m_stream);
    return std::ferror(m_stream) == 0 ? static_cast<long>(written) : -1;
}

int BufferedFile::flush() {
    return m_stream != nullptr && std::fflush(m_stream) == 0 ? 0 : -1;
}

long long BufferedFile::size() const {
    struct stat status {};
    if (m_stream == nullptr || fstat(fileno(m_stream), &status) != 0) {
        return -1;
    }
    return static_cast<long long>(status.st_size);
}
