#include "app/SuccessMarker.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

constexpr char kName[] = "MCUUpdateSuccess";
constexpr mode_t kMode = 0644;

bool makeEmptyFile() {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const int file = ::open(kName, kFlags, kMode);
    if (file < 0) {
        return false;
    }
    (void)::close(file);  // nothing was written
    return true;
}

// For a missing marker, too, a read-only disk refuses. The reason stays in errno.
bool isStillThere() {
    const int reason = errno;
    struct stat status {};
    const bool isThere = ::lstat(kName, &status) == 0;
    errno = reason;
    return isThere;
}

// Not every file system can; the marker is gone all the same until the power is.
void forceDirectoryOntoDisk() {
    const int directory = ::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory >= 0) {
        (void)::fsync(directory);
        (void)::close(directory);
    }
}

}  // namespace

void success_marker::create() {
    if (makeEmptyFile()) {
        return;
    }
    (void)std::remove(kName);  // a directory or a pipe without a reader; the next line tells
    if (!makeEmptyFile()) {
        std::perror("MCUUpdateTool: the marker file MCUUpdateSuccess cannot be created");
    }
}

void success_marker::remove() {
    if (std::remove(kName) == 0) {
        forceDirectoryOntoDisk();
    } else if (isStillThere()) {
        std::perror("MCUUpdateTool: the marker file MCUUpdateSuccess cannot be removed");
    }
}
