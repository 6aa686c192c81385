#pragma once

#include <string>
#include <vector>

#include "tests/fuzz/support/ScriptedLine.h"

// Requires of what went over the line while `content` was sent with the result `result` that it is
// a transfer by the rules: every block whole and right with its number, its complement and its CRC;
// the next one only after an acknowledgement, the same one only after a refusal, and at most twelve
// times; the end only after the last block; a result that is what the line has seen. Worked out
// anew and not by the product's code. `events` begins with the sender's clearing of the line.
void requireXmodem(const std::vector<ScriptedLine::Event>& events, const std::string& content,
                   int result);
