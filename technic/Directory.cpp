#include "technic/Directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "technic/CancelGuard.h"

namespace {

constexpr int kOpenFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

}  // namespace

Directory::Directory(const std::string& path) : Directory(open(path.c_str(), kOpenFlags)) {}

Directory::Directory(const Directory& parent, const std::string& name)
    : Directory(openat(parent.descriptor(), name.c_str(), kOpenFlags | O_NOFOLLOW)) {}

Directory::Directory(int descriptor)
    : m_stream(descriptor == -1 ? nullptr : fdopendir(descriptor)) {
    if (descriptor != -1 && m_stream == nullptr) {
        (void)close(descriptor);  // the stream would have owned it
    }
}

void Directory::Close::operator()(DIR* stream) const {
    const CancelGuard whole;
    (void)closedir(stream);  // only read from
}

std::vector<DirectoryEntry> Directory::visibleEntries() {
    std::vector<DirectoryEntry> entries;
    while (const dirent* entry = readdir(m_stream.get())) {
        if (entry->d_name[0] != '.') {
            entries.push_back({entry->d_name, isDirectory(*entry)});
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& one, const auto& other) { return one.name < other.name; });
    return entries;
}

// Not every file system tells an entry's kind along with its name.
bool Directory::isDirectory(const dirent& entry) const {
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_DIR;
    }
    struct stat status {};
    return fstatat(descriptor(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

bool Directory::removeFile(const std::string& name) {
    return unlinkat(descriptor(), name.c_str(), 0) == 0;
}

bool Directory::removeDirectory(const std::string& name) {
    return unlinkat(descriptor(), name.c_str(), AT_REMOVEDIR) == 0;
}
