#pragma once

#include <string>
#include <vector>

// The words of the command that runs the program `name` of this program's directory. Before it
// stand the words of the variable TEST_EMULATOR, if there is one: what runs programs that are made
// for another machine.
std::vector<std::string> commandOf(const std::string& name);

// The same as a shell takes it. No word of it may need quotes.
std::string shellCommandOf(const std::string& name);
