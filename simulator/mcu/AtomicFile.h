#pragma once

#include <string>

// Replaces the file's content in one step: a reader sees the old content or the new, never a part.
// Throws std::runtime_error when the file cannot be written.
void replaceFile(const std::string& path, const void* content, std::size_t length);
void replaceFile(const std::string& path, const std::string& content);
