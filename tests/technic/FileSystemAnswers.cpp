#include "tests/technic/FileSystemAnswers.h"

#include <dirent.h>
#include <fcntl.h>

#include <optional>
#include <utility>

namespace {

struct Opening {
    std::string name;
    std::function<void()> action;
};

thread_local bool hasNoEntryKinds = false;
thread_local std::optional<struct statfs> fixedSize;
thread_local std::optional<Opening> opening;
thread_local std::function<void(const char*)> beforeMkdir;

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

dirent* __real_readdir(DIR* stream);
int __real_statfs(const char* path, struct statfs* status);
int __real_mkdir(const char* path, mode_t mode);
int __real_openat(int directory, const char* name, int flags, ...);

dirent* __wrap_readdir(DIR* stream) {
    dirent* entry = __real_readdir(stream);
    if (entry != nullptr && hasNoEntryKinds) {
        entry->d_type = DT_UNKNOWN;
    }
    return entry;
}

int __wrap_statfs(const char* path, struct statfs* status) {
    if (!fixedSize) {
        return __real_statfs(path, status);
    }
    *status = *fixedSize;
    return 0;
}

// Nobody in this program creates files so.
int __wrap_openat(int directory, const char* name, int flags) {
    if (opening && opening->name == name) {
        opening->action();
    }
    return __real_openat(directory, name, flags);
}

int __wrap_mkdir(const char* path, mode_t mode) {
    if (beforeMkdir) {
        beforeMkdir(path);
    }
    return __real_mkdir(path, mode);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

NoEntryKinds::NoEntryKinds() {
    hasNoEntryKinds = true;
}

NoEntryKinds::~NoEntryKinds() {
    hasNoEntryKinds = false;
}

FixedFileSystem::FixedFileSystem(const struct statfs& size) {
    fixedSize = size;
}

FixedFileSystem::~FixedFileSystem() {
    fixedSize.reset();
}

BeforeOpening::BeforeOpening(std::string name, std::function<void()> action) {
    opening = Opening{std::move(name), std::move(action)};
}

BeforeOpening::~BeforeOpening() {
    opening.reset();
}

BeforeMkdir::BeforeMkdir(std::function<void(const char* path)> action) {
    beforeMkdir = std::move(action);
}

BeforeMkdir::~BeforeMkdir() {
    beforeMkdir = nullptr;
}
