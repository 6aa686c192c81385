#pragma once

#include <string>

// The files of an input. A fuzzer runs in a sandbox, where /tmp is its own and in memory.

// Creates or replaces the file.
void writeFile(const std::string& path, const std::string& content);
// The whole file; empty when there is none.
std::string readFile(const std::string& path);
