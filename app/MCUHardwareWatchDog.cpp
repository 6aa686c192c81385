#include "app/MCUHardwareWatchDog.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "mcu/UpdateNote.h"
#include "technic/CancelGuard.h"
#include "technic/DevicePaths.h"
#include "technic/TimeUtil.h"

namespace {

// The feed request of the watchdog's driver: read and write, type 'g', number 14, 40 bytes. The
// driver acts on the number alone and takes no argument, whatever size the number announces.
constexpr unsigned long GPIO_SET_WTD = 0xC028670E;

constexpr long long kFeedAfterSeconds = 10;
constexpr long kLoopSleepSeconds = 2;
constexpr int kAlreadyRunning = -11;
constexpr int kNotStarted = -12;

}  // namespace

MCUHardwareWatchDog::MCUHardwareWatchDog() : KdThread("GThreadWatchdog") {}

MCUHardwareWatchDog::~MCUHardwareWatchDog() noexcept(false) {
    if (isRunning()) {
        stop();
    }
    useDevice(-1);  // still open when the thread had to be killed
}

int MCUHardwareWatchDog::start() {
    const int device = ::open(device_paths::kWatchdogDevice, O_WRONLY | O_CLOEXEC);
    if (device < 0) {
        std::puts("open(\"/dev/gpio_wtd\",O_WRONLY) error");
        return kNotStarted;
    }
    useDevice(device);
    std::puts("open(\"/dev/gpio_wtd\",O_WRONLY) success");
    if (isRunning()) {
        std::puts("start GThreadWatchdog failed,\tGThreadWatchdog is running..");
        return kAlreadyRunning;
    }
    m_stopRequested.store(false, std::memory_order_relaxed);
    if (KdThread::start() < 0) {
        UpdateNote::log("start GThreadWatchdog failed..\n");
        useDevice(-1);
        return kNotStarted;
    }
    return 0;
}

void MCUHardwareWatchDog::stop() {
    m_stopRequested.store(true, std::memory_order_relaxed);
    stopWait();
}

int MCUHardwareWatchDog::run() {
    openRunGate();
    long long lastFeed = monotonicSeconds();
    UpdateNote::log("____start GThreadWatchdog thread\n");
    while (!m_stopRequested.load(std::memory_order_relaxed)) {
        feedWhenDue(lastFeed);
        sleepFor(kLoopSleepSeconds, 0);
    }
    useDevice(-1);
    return 0;
}

void MCUHardwareWatchDog::feedWhenDue(long long& lastFeed) {
    const long long now = monotonicSeconds();
    if (now - lastFeed <= kFeedAfterSeconds) {
        return;
    }
    UpdateNote::log("MCUHardwareWatchDog send GPIO_SET_WTD\n");
    lastFeed = now;
    UpdateNote::log(feed() == 0 ? "MCUHardwareWatchDog send GPIO_SET_WTD success\n"
                                : "MCUHardwareWatchDog send GPIO_SET_WTD error\n");
}

int MCUHardwareWatchDog::feed() {
    const KdMutexGuard guard(m_deviceLock, KD_HERE);
    return ioctl(m_wtdHandle, GPIO_SET_WTD, nullptr);
}

void MCUHardwareWatchDog::useDevice(int handle) {
    const CancelGuard whole;
    const KdMutexGuard guard(m_deviceLock, KD_HERE);
    if (m_wtdHandle != -1) {
        ::close(m_wtdHandle);
    }
    m_wtdHandle = handle;
}
