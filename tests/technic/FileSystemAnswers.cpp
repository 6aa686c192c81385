#include "tests/technic/FileSystemAnswers.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>

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
thread_local bool isAsked = false;

void begin() {
    isAsked = false;
}

void end() {
    EXPECT_TRUE(isAsked) << "the program's own code did not ask for the replaced answer";
}

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

dirent* __real_readdir64(DIR* stream);
int __real_statfs64(const char* path, struct statfs* status);
int __real_mkdir(const char* path, mode_t mode);
int __real_openat64(int directory, const char* name, int flags, ...);

dirent* __wrap_readdir64(DIR* stream) {
    dirent* entry = __real_readdir64(stream);
    if (entry != nullptr && hasNoEntryKinds) {
        isAsked = true;
        entry->d_type = DT_UNKNOWN;
    }
    return entry;
}

int __wrap_statfs64(const char* path, struct statfs* status) {
    if (!fixedSize) {
        return __real_statfs64(path, status);
    }
    isAsked = true;
    *status = *fixedSize;
    return 0;
}

// Nobody in this program creates files so.
int __wrap_openat64(int directory, const char* name, int flags) {
    if (opening && opening->name == name) {
        isAsked = true;
        opening->action();
    }
    return __real_openat64(directory, name, flags);
}

int __wrap_mkdir(const char* path, mode_t mode) {
    if (beforeMkdir) {
        isAsked = true;
        beforeMkdir(path);
    }
    return __real_mkdir(path, mode);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

NoEntryKinds::NoEntryKinds() {
    begin();
    hasNoEntryKinds = true;
}

NoEntryKinds::~NoEntryKinds() {
    hasNoEntryKinds = false;
    end();
}

FixedFileSystem::FixedFileSystem(const struct statfs& size) {
    begin();
    fixedSize = size;
}

FixedFileSystem::~FixedFileSystem() {
    fixedSize.reset();
    end();
}

BeforeOpening::BeforeOpening(std::string name, std::function<void()> action) {
    begin();
    opening = Opening{std::move(name), std::move(action)};
}

BeforeOpening::~BeforeOpening() {
    opening.reset();
    end();
}

BeforeMkdir::BeforeMkdir(std::function<void(const char* path)> action) {
    begin();
    beforeMkdir = std::move(action);
}

BeforeMkdir::~BeforeMkdir() {
    beforeMkdir = nullptr;
    end();
}
