#pragma once

#include <string>

// The text of the update note; empty when there is none.
std::string noteText();
// Waits until the note holds `text`, for two seconds at most. Whether it does.
bool awaitNote(const std::string& text);
