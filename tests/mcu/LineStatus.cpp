#include "tests/mcu/LineStatus.h"

#include <cstdlib>

namespace {

constexpr char kSwitch[] = "DEVICE_SHIM_LINE_STATUS";

}  // namespace

NoLineStatus::NoLineStatus() {
    (void)setenv(kSwitch, "off", 1);
}

NoLineStatus::~NoLineStatus() {
    (void)unsetenv(kSwitch);
}
