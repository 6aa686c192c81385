#pragma once

#include <map>
#include <string>

// Functions that wait, by name. Each waits `seconds` of the time that the process knows, and gives
// back what it has left in milliseconds, when it can tell, after a signal.
using Wait = double (*)(int seconds);
const std::map<std::string, Wait>& waits();
