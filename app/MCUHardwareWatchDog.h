#pragma once

#include <atomic>

#include "technic/KdMutex.h"
#include "technic/KdThread.h"

// Feeds the device's hardware watchdog every 12 seconds on a thread of its own.
class MCUHardwareWatchDog : public KdThread {
  public:
    MCUHardwareWatchDog();
    // Stops the thread if it still runs.
    ~MCUHardwareWatchDog() noexcept(false) override;

    // Opens the watchdog device and starts the thread. 0 on success; -12 when the device cannot be
    // opened or no thread can be made; -11 when the thread runs already, which goes on with the
    // newly opened device.
    int start();
    // Ends the feeding and waits for the thread, which closes the device. At most 20 seconds.
    void stop();

  protected:
    int run() override;

  private:
    void feedWhenDue(long long& lastFeed);
    int feed();
    // Closes the device in use, if any, and puts another one (or -1) in its place.
    void useDevice(int handle);

    std::atomic<bool> m_stopRequested{false};
    int m_wtdHandle = -1;
    // Guards the descriptor, which a start while the thread runs replaces.
    KdMutex m_deviceLock;
};
