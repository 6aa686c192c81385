#include "technic/BufferedFile.h"

#include <sys/stat.h>

#include <array>

#include "technic/CancelGuard.h"

namespace {

struct OpenMode {
    unsigned flags;
    const char* mode;
};

// Every accepted set of flags. Writing without truncating appends, with the flag or without it.
constexpr std::array<OpenMode, 8> kOpenModes{{
    {BufferedFile::kRead, "rb"},
    {BufferedFile::kWrite | BufferedFile::kTruncate, "wb"},
    {BufferedFile::kWrite | BufferedFile::kAppend | BufferedFile::kTruncate, "wb"},
    {BufferedFile::kWrite, "ab"},
    {BufferedFile::kWrite | BufferedFile::kAppend, "ab"},
    {BufferedFile::kUpdate, "r+b"},
    {BufferedFile::kUpdate | BufferedFile::kAppend, "a+b"},
    {BufferedFile::kUpdate | BufferedFile::kAppend | BufferedFile::kTruncate, "w+b"},
}};

// Null for refused flags.
const char* modeOf(unsigned flags) {
    for (const OpenMode& row : kOpenModes) {
        if (row.flags == flags) {
            return row.mode;
        }
    }
    return nullptr;
}

}  // namespace

BufferedFile::~BufferedFile() {
    const CancelGuard whole;
    (void)close();  // nobody is left to be told
}

bool BufferedFile::open(const char* path, unsigned flags) {
    (void)close();  // the former file's outcome is asked for by closing it
    const char* mode = modeOf(flags);
    if (path == nullptr || mode == nullptr) {
        return false;
    }
    m_stream = std::fopen(path, mode);
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
