// What a program leaves at its exit: descriptors that are still open and threads that still run.
#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "simulator/sandbox/shim/TimeScale.h"

namespace {

// Real time in which threads that are about to end may do so, and between two looks.
constexpr int kLooks = 100;
constexpr timespec kLookInterval{0, 5000000};
constexpr timespec kLongestPause{3600, 0};

int countThreads() {
    DIR* const tasks = opendir("/proc/self/task");
    int count = 0;
    while (tasks != nullptr) {
        const dirent* const entry = readdir(tasks);
        if (entry == nullptr) {
            closedir(tasks);
            break;
        }
        count += entry->d_name[0] != '.' ? 1 : 0;
    }
    return count;
}

int remainingThreads() {
    int threads = countThreads();
    for (int look = 0; look < kLooks && threads > 1; ++look) {
        const timespec pause = time_scale::toDevice(kLookInterval, kLongestPause);
        (void)nanosleep(&pause, nullptr);
        threads = countThreads();
    }
    return threads - 1;
}

void reportDescriptor(std::FILE* report, const char* number, const char*& separator) {
    std::array<char, 300> link{};
    std::array<char, 300> target{};
    (void)std::snprintf(link.data(), link.size(), "/proc/self/fd/%s", number);
    if (readlink(link.data(), target.data(), target.size() - 1) > 0) {
        (void)std::fprintf(report, "%s\"descriptor %s: %s\"", separator, number, target.data());
        separator = ",";
    }
}

void reportDescriptors(std::FILE* report, const char*& separator) {
    DIR* const descriptors = opendir("/proc/self/fd");
    if (descriptors == nullptr) {
        return;
    }
    while (const dirent* const entry = readdir(descriptors)) {
        const int number = std::atoi(entry->d_name);
        if (number > STDERR_FILENO && number != dirfd(descriptors) && number != fileno(report)) {
            reportDescriptor(report, entry->d_name, separator);
        }
    }
    closedir(descriptors);
}

// A JSON array of texts in the file that DEVICE_SHIM_EXIT_REPORT names.
__attribute__((destructor)) void reportExit() {
    const char* const path = std::getenv("DEVICE_SHIM_EXIT_REPORT");
    if (path == nullptr || *path == '\0') {
        return;
    }
    const int threads = remainingThreads();
    std::FILE* const report = std::fopen(path, "we");
    if (report == nullptr) {
        return;
    }
    const char* separator = "";
    (void)std::fputc('[', report);
    if (threads > 0) {
        (void)std::fprintf(report, "\"threads: %d\"", threads);
        separator = ",";
    }
    reportDescriptors(report, separator);
    (void)std::fputs("]\n", report);
    (void)std::fclose(report);
}

}  // namespace
