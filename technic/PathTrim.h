#pragma once

#include <cstddef>
#include <string>

// The position just behind the path's last character that is not a slash: its length without
// trailing slashes. A path of one character is left whole, and of a path of slashes alone the first
// stays, so that the root stays the root. 0 for an empty path.
std::size_t endWithoutTrailingSlashes(const std::string& path);
