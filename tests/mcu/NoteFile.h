#pragma once

#include <string>

// The text of the update note; empty when there is none.
std::string noteText();
