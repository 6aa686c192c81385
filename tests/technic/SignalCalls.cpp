#include "tests/technic/SignalCalls.h"

#include <cerrno>

namespace {

bool isRefusing = false;
std::function<int(pthread_t, int)> sender;

std::vector<RefusedHandlers::Request>& refused() {
    static std::vector<RefusedHandlers::Request> requests;
    return requests;
}

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

int __real_sigaction(int signo, const struct sigaction* action, struct sigaction* before);
int __real_pthread_kill(pthread_t thread, int signo);

int __wrap_sigaction(int signo, const struct sigaction* action, struct sigaction* before) {
    if (!isRefusing) {
        return __real_sigaction(signo, action, before);
    }
    refused().push_back({signo, *action});
    errno = EINVAL;
    return -1;
}

int __wrap_pthread_kill(pthread_t thread, int signo) {
    return sender ? sender(thread, signo) : __real_pthread_kill(thread, signo);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

RefusedHandlers::RefusedHandlers() {
    refused().clear();
    isRefusing = true;
}

RefusedHandlers::~RefusedHandlers() {
    isRefusing = false;
}

const std::vector<RefusedHandlers::Request>& RefusedHandlers::requests() {
    return refused();
}

SentSignals::SentSignals(std::function<int(pthread_t, int)> send) {
    sender = std::move(send);
}

SentSignals::~SentSignals() {
    sender = nullptr;
}
