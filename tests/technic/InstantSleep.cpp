#include "tests/technic/InstantSleep.h"

#include <pthread.h>
#include <sys/select.h>

#include <ctime>
#include <mutex>
#include <optional>

namespace {

constexpr long kLeastMilliseconds = 100;

// What is done in a sleep while sleeps are instant.
struct Sleeps {
    std::mutex lock;
    std::optional<std::function<void(std::size_t)>> inSleep;
    std::vector<long> taken;
};

// Never destroyed: threads may sleep until the process ends.
Sleeps& sleeps() {
    static Sleeps& all = *new Sleeps;
    return all;
}

// Takes the sleep's place; false when it is to be slept.
bool takeInstantly(const timeval& length) {
    const long milliseconds = static_cast<long>(length.tv_sec * 1000 + length.tv_usec / 1000);
    std::function<void(std::size_t)> inSleep;
    std::size_t count = 0;
    {
        const std::lock_guard<std::mutex> guard(sleeps().lock);
        if (!sleeps().inSleep || milliseconds < kLeastMilliseconds) {
            return false;
        }
        sleeps().taken.push_back(milliseconds);
        inSleep = *sleeps().inSleep;
        count = sleeps().taken.size();
    }
    inSleep(count);
    pthread_testcancel();
    return true;
}

}  // namespace

// Takes the place of the C library's in this program.
extern "C" int select(int count, fd_set* reads, fd_set* writes, fd_set* errors, timeval* wait) {
    if (wait == nullptr) {
        return pselect(count, reads, writes, errors, nullptr, nullptr);
    }
    if (count == 0 && takeInstantly(*wait)) {
        return 0;
    }
    timespec exact{};
    exact.tv_sec = wait->tv_sec;
    exact.tv_nsec = static_cast<long>(wait->tv_usec * 1000);
    return pselect(count, reads, writes, errors, &exact, nullptr);
}

InstantSleep::InstantSleep(std::function<void(std::size_t)> inSleep) {
    const std::lock_guard<std::mutex> guard(sleeps().lock);
    sleeps().taken.clear();
    sleeps().inSleep = std::move(inSleep);
}

InstantSleep::~InstantSleep() {
    const std::lock_guard<std::mutex> guard(sleeps().lock);
    sleeps().inSleep.reset();
}

std::vector<long> InstantSleep::taken() {
    const std::lock_guard<std::mutex> guard(sleeps().lock);
    return sleeps().taken;
}
