#pragma once

#include <string>

// The command line of a job.
struct JobArguments {
    std::string configFile;
    std::string updateFilePath;
    int timeoutSeconds = 0;
};

// The job of a Type: 1 updates all MCUs with the hardware watchdog fed meanwhile and keeps the
// success marker in the working directory, 2 reboots and 3 resets the MCUs. Whether the job
// succeeded; false for any other Type, for which nothing is done.
bool runJob(long type, const JobArguments& arguments);
