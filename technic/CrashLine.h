#pragma once

#include <string>

// Where a signal interrupted the program: program counter, fault address and the addresses of the
// last ten calls, in hexadecimal; at most 255 characters. `machineContext` is the third argument of
// a signal handler that was installed with SA_SIGINFO. Never faults, whatever the stack holds.
std::string crashLine(const void* machineContext);
