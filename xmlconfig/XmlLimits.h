#pragma once

#include <string>

// How deep elements may be nested and how many attributes one may have. The parser goes down one
// call for every level, and compares every attribute with all before it: a document beyond these
// limits could overflow the stack or keep the program busy for ever. Configurations nest three deep
// and have some ten attributes.
constexpr int kMostXmlLevels = 200;
constexpr int kMostXmlAttributes = 1000;

// Whether the parser may be given `text` (which holds no NUL), as UTF-8 or byte by byte. A text
// within the limits that is not well-formed may pass or not; the parser rejects it. Any thread.
bool isWithinXmlLimits(const std::string& text, bool utf8);
