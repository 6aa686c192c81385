#pragma once

#include <cstddef>
#include <string>

// Process-wide system control. Any thread.

// Declares the system running (non-zero) or stopped (0). Every worker loop ends when it is stopped.
// Prints a line with the flag and the reason; a stop is recorded in the reboot log.
void setSystemRunningFlag(int flag, const std::string& reason);
// Non-zero while the system runs, as it does at the start of the process.
int getSystemRunningFlag();

// Record the reason in the reboot log and ask the control daemon to reboot the device or to restart
// the application. Wait up to 30 seconds for the daemon's answer, which is not examined.
void Reboot(const std::string& reason);
void Restart(const std::string& reason);

// Bytes of a command that the control daemon takes.
constexpr std::size_t kLongestLocalCommand = 999;

// Has the control daemon run a shell command, of which what is too long is cut off. Returns the
// daemon's reply code (-1 when the reply is short); -9 for an empty command, or when the daemon
// cannot be reached or waited for; -2 when there is no reply in `timeoutSeconds`, or when that is 0
// or less and the reply is not waited for.
int sendLocalCommand(const std::string& command, int timeoutSeconds);
