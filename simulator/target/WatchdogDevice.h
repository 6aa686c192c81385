#pragma once

#include <memory>

#include "simulator/sandbox/RecordFile.h"
#include "simulator/sandbox/StopSignals.h"

struct fuse_session;

// The hardware watchdog of a target machine: the character device /dev/gpio_wtd, served through
// the kernel's CUSE interface. The one request it takes is GPIO_SET_WTD with a null argument; each
// is recorded as {"seconds": ...}, on the monotonic clock. Any other request is recorded as
// {"refused": number, "argument": whether there was one} and fails: ENOTTY for another number,
// EINVAL for an argument. The device opens for writing only, else EACCES.
class WatchdogDevice {
  public:
    // The records must outlive the object. Throws std::runtime_error when there is no such device
    // to be made.
    explicit WatchdogDevice(RecordFile& records);
    ~WatchdogDevice();
    WatchdogDevice(const WatchdogDevice&) = delete;
    WatchdogDevice& operator=(const WatchdogDevice&) = delete;

    // Serves the device until the stop is requested. Announces, once the node is there, that the
    // program is ready.
    void run(const StopSignals& stop);

  private:
    fuse_session* m_session;
};
