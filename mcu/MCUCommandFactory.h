#pragma once

#include "mcu/MCUCommand.h"
#include "technic/SafePointer.h"

// A fresh request of that id; an MCUNullReqCommand when no request has it. Any thread.
SafePointer<MCUCommand> createReqCommand(int id);

// A fresh response of that id; an MCUNullRespCommand when no response has it. The answer to a reset
// is modelled as the answer to a reboot: its own id is that of the latter. Any thread.
SafePointer<MCUCommand> createRespCommand(int id);
