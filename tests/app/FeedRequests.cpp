#include "tests/app/FeedRequests.h"

#include <dlfcn.h>
#include <sys/ioctl.h>

#include <atomic>
#include <cstdarg>

namespace {

constexpr unsigned long kFeedRequest = 0xC028670E;

std::atomic<bool> answered{false};
std::atomic<int> answer{0};
std::atomic<int> requests{0};
std::atomic<int> requestsWithArgument{0};

}  // namespace

// Stands before the system's own.
extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (answered && request == kFeedRequest) {
        ++requests;
        if (argument != nullptr) {
            ++requestsWithArgument;
        }
        return answer;
    }
    using Ioctl = int (*)(int, unsigned long, ...);
    static const auto kIoctl = reinterpret_cast<Ioctl>(dlsym(RTLD_NEXT, "ioctl"));
    return kIoctl(fd, request, argument);
}

FeedRequests::FeedRequests(int result) {
    answer = result;
    requests = 0;
    requestsWithArgument = 0;
    answered = true;
}

FeedRequests::~FeedRequests() {
    answered = false;
}

int FeedRequests::count() {
    return requests;
}

int FeedRequests::countWithArgument() {
    return requestsWithArgument;
}
