#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

#include "technic/SystemLogger.h"

// Runs `action` with the logger of another process: an initialised logger has no way back. Its
// standard output is this process's.
inline void withLoggerOfAnotherProcess(const std::function<void(SystemLogger&)>& action) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        action(SystemLogger::instance());
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}
