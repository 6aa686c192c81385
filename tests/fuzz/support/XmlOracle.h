#pragma once

#include <string>

// Requires of the layer over the parser that a document which it takes, in either encoding, is
// within the limits on levels and attributes, counted in the parsed document.
void requireXmlLimits(const std::string& text);
