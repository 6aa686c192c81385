#pragma once

#include <filesystem>
#include <string>

#include "technic/DevicePaths.h"
#include "technic/SystemControl.h"
#include "tests/technic/StdoutCapture.h"

// A system that runs and has empty event logs, at the start of a test and after it.
class RunningSystem {
  public:
    RunningSystem() { reset(); }
    ~RunningSystem() { reset(); }
    RunningSystem(const RunningSystem&) = delete;
    RunningSystem& operator=(const RunningSystem&) = delete;

    static void reset() {
        std::error_code ignored;
        for (const char* path : {device_paths::kRebootLog, device_paths::kThreadExceptionLog,
                                 device_paths::kSignalErrorLog}) {
            std::filesystem::remove(path, ignored);
        }
        if (getSystemRunningFlag() != 1) {
            const StdoutCapture quiet;
            setSystemRunningFlag(1, "");
        }
    }
};

inline std::string stopBanner(const std::string& flag, const std::string& reason) {
    return "\n" + std::string(38, '~') + "setSystemRunningFlag" + std::string(27, '~') +
           " Flag=" + flag + " Reason=" + reason + "\n";
}
