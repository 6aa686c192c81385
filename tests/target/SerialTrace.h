#pragma once

#include <filesystem>
#include <string>
#include <vector>

// What a port's chip was programmed to at each of the marks in Machine::serialTrace(), in the form
// "115200 8N1". A mark is the RTS of a port going off while its DTR stays.
std::vector<std::string> chipSettingsAtMarks(const std::filesystem::path& serialTrace);
