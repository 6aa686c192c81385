#include "app/UpdateJob.h"

#include <exception>
#include <memory>

#include "app/MCUHardwareWatchDog.h"
#include "app/MCUUpdateTool.h"
#include "app/SuccessMarker.h"
#include "mcu/UpdateNote.h"
#include "technic/TimeUtil.h"

namespace {

constexpr long kUpdateType = 1;
constexpr long kRebootType = 2;
constexpr long kResetType = 3;

constexpr int kMostFailures = 2;
constexpr long kSecondRunWaitSeconds = 20;

bool load(MCUUpdateTool& tool, const JobArguments& arguments) {
    tool.setConfigFile(arguments.configFile);
    tool.setUpdateFilePath(arguments.updateFilePath);
    tool.setTimeout(arguments.timeoutSeconds);
    return tool.loadConfig();
}

// One run of the whole list; a run that cannot go on has failed.
bool runList(MCUUpdateTool& tool) {
    try {
        return tool.updateAll();
    } catch (const std::exception&) {
        return false;
    }
}

// The whole list at most twice.
bool updateWithSecondRun(MCUUpdateTool& tool) {
    for (int failures = 0;;) {
        if (runList(tool)) {
            success_marker::create();
            UpdateNote::log("update seccess!\n\n\n\n");
            return true;
        }
        ++failures;
        success_marker::remove();
        UpdateNote::log("update failed!\n\n\n\n");
        if (failures == kMostFailures) {
            return false;
        }
        sleepFor(kSecondRunWaitSeconds, 0);
    }
}

// The update goes ahead without it, whatever is missing; null without memory for it.
std::unique_ptr<MCUHardwareWatchDog> startWatchdog() {
    try {
        auto watchdog = std::make_unique<MCUHardwareWatchDog>();
        (void)watchdog->start();
        return watchdog;
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool updateJob(const JobArguments& arguments) {
    MCUUpdateTool tool;
    if (!load(tool, arguments)) {
        return false;
    }
    const std::unique_ptr<MCUHardwareWatchDog> watchdog = startWatchdog();
    const bool succeeded = updateWithSecondRun(tool);
    if (watchdog != nullptr) {
        watchdog->stop();
    }
    return succeeded;
}

bool singleCommandJob(const JobArguments& arguments, bool (MCUUpdateTool::*command)()) {
    MCUUpdateTool tool;
    return load(tool, arguments) && (tool.*command)();
}

bool dispatch(long type, const JobArguments& arguments) {
    switch (type) {
        case kUpdateType:
            return updateJob(arguments);
        case kRebootType:
            return singleCommandJob(arguments, &MCUUpdateTool::rebootMCU);
        case kResetType:
            return singleCommandJob(arguments, &MCUUpdateTool::resetMCU);
        default:
            return false;
    }
}

}  // namespace

bool runJob(long type, const JobArguments& arguments) {
    try {
        return dispatch(type, arguments);
    } catch (const std::exception&) {
        return false;  // no memory, or a fault of the foundation; the job ends as failed
    }
}
